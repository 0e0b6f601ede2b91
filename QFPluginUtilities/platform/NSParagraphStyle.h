#pragma once

#include "platform/NSTextTable.h"

#include <QList>
#include <QString>

/// The platform's alignment codes; other values from foreign data are kept as they come.
enum class NSTextAlignment : int { Left = 0, Right = 1, Center = 2, Justified = 3, Natural = 4 };

/// The platform's writing directions.
enum class NSWritingDirection : int { Natural = -1, LeftToRight = 0, RightToLeft = 1 };

/// A list that a paragraph stands in, equal by marker, so that styles made afresh for each paragraph still
/// form one list. The marker is written as in "{disc}" or "{decimal}".
struct NSTextList
{
    QString markerFormat;

    friend bool operator==(const NSTextList &, const NSTextList &) = default;
};

/// What holds for a whole paragraph; equal by value, its table cells by identity.
struct NSParagraphStyle
{
    NSTextAlignment alignment = NSTextAlignment::Natural;
    NSWritingDirection baseWritingDirection = NSWritingDirection::Natural;
    QList<NSTextList> textLists;           ///< outermost first
    QList<NSTextTableBlockPtr> textBlocks; ///< outermost first; never null

    friend bool operator==(const NSParagraphStyle &, const NSParagraphStyle &) = default;
};

Q_DECLARE_METATYPE(NSParagraphStyle)
