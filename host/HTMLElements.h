#pragma once

#include <QStringView>

/// What an element means to the importer.
enum class HTMLElement : quint8 {
    Unknown, ///< its content counts, itself does not
    Skipped, ///< neither counts
    Void,    ///< has no content and means nothing
    Root,
    Block,
    Paragraph,
    Center,
    Heading,
    Quote,
    Preformatted,
    List,
    Item,
    DefinitionList,
    Term,
    Definition,
    Table,
    Section,
    Row,
    Cell,
    Caption,
    Break,
    Rule,
    Image,
    Anchor,
    Bold,
    Italic,
    Underlined,
    Code,
    Small,
    Big,
    Raised, ///< sup, sub
    Font,
    Inline, ///< carries a style only
};

[[nodiscard]] HTMLElement htmlElement(QStringView name);

/// Elements that end where an open paragraph would.
[[nodiscard]] bool isBlock(HTMLElement element);
/// Elements without content and end tag.
[[nodiscard]] bool isVoid(HTMLElement element);
