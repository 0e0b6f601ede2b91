#pragma once

#include "platform/NSAttributedString.h"
#include "platform/NSParagraphStyle.h"
#include "platform/NSTextAttachment.h"
#include "platform/QFExport.h"

#include <QString>
#include <QVariantMap>

#include <memory>

class QObject;

/// Turns styled text into an HTML fragment, writes the files embedded in it beside the page, and puts the
/// fragment into a page template. The page itself is not written: the finished text is answered.
///
/// May be used for several exports, by one thread at a time. Exports have no error answer: what fails is
/// logged (and recorded in the current `QFReport`) and left out. Time is linear in the text and what comes
/// out of it.
///
/// Text is converted to named references with tags, ampersands and quotation marks kept, so that users can
/// type markup into pages. Newlines become `<br />` in everything that is exported, attribute values and
/// directive tags included.
class QF_EXPORT CVHTML
{
public:
    CVHTML();
    ~CVHTML();
    CVHTML(const CVHTML &) = delete;
    CVHTML &operator=(const CVHTML &) = delete;

    /// Whether fonts outside the web-safe table are written under their own name; false at first.
    [[nodiscard]] bool allowWebUnsafeFonts() const;
    void setAllowWebUnsafeFonts(bool allow);
    /// Folder names; unset (nil) they are "files", "images" and "assets".
    [[nodiscard]] QString filesFolderName() const;
    void setFilesFolderName(const QString &name);
    [[nodiscard]] QString imagesFolderName() const;
    void setImagesFolderName(const QString &name);
    [[nodiscard]] QString assetsFolderName() const;
    void setAssetsFolderName(const QString &name);
    /// The markup directive met last, empty for none; it stays after an export.
    [[nodiscard]] QVariantMap currentMarkupAttribute() const;
    void setCurrentMarkupAttribute(const QVariantMap &directive);

    /// The fragment itself. Since the images folder equals `toPath`, addresses of files start with the files
    /// folder name.
    [[nodiscard]] QString exportAttributedString(const NSAttributedString &text, const QString &toPath,
                                                 const QString &imagePrefix);
    /// The template with the fragment in place of every `%contentTag%`.
    ///
    /// `toPath` is the folder for embedded files, `imagesFolder` its name in their addresses (replaced by the
    /// files folder name where both are equal), `imagePrefix` the start of their names. `fromPage` is the
    /// page that exports, or nullptr: its attributes say the format and quality of images, and links to other
    /// pages need it. `depthCorrection` counts the folders between the page and where the site says it lies.
    ///
    /// Each list item is exported by this operation again, template included: lists want templates that are
    /// just the placeholder. So file numbers start again at 1 in every item. Items nested deeper than 64
    /// lists lose their lists.
    [[nodiscard]] QString exportAttributedString(const NSAttributedString &text, const QString &toPath,
                                                 const QString &imagesFolder, const QString &imagePrefix,
                                                 const QString &HTMLTemplate, const QString &contentTag,
                                                 QObject *fromPage = nullptr, qint64 depthCorrection = 0);

    /// Removes all line breaks, but keeps a blank behind "<?php". In place; answers its argument.
    static QString &substituteNewlines(QString &text);

    /// "left", "right", "center" or "justify"; "left" for natural and unknown alignments.
    [[nodiscard]] static QString stringForAlignment(NSTextAlignment alignment);
    /// ` style="text-align:center;" ` with a blank at either end; empty for left and natural.
    [[nodiscard]] static QString attributeForAlignment(NSTextAlignment alignment);

    /// Class of a list element for a marker such as "{disc}"; nil for an unknown one. `listType`, when given,
    /// is set to 1 for unordered and 0 for ordered lists, and left alone for unknown markers. The classes are
    /// names for style sheets: "{decimal}" is "arabic-numbers".
    [[nodiscard]] static QString htmlBulletStyleFromCocoaTextListMarkerFormat(const QString &markerFormat,
                                                                              int *listType = nullptr);
    /// The same for the outermost list at the text's first unit; nil when that is in no list.
    [[nodiscard]] static QString textListStyleAttribute(const NSAttributedString &text,
                                                        int *listType = nullptr);

    /// Appends the start tag of an anchor for a link value (string or `QFLinkPtr`) as seen from `page`, or
    /// nothing when it has no address. The last argument is not looked at: the host is asked for the folder
    /// of each page.
    void processLink(const QVariant &link, QObject *page, qint64 depthCorrection, QString &toHTML,
                     const QString &filesFolderName) const;

    /// Writes an embedded file into `toPath`, named after its stored "filename" or else by prefix and number,
    /// and appends the markup that links or shows it. Pictures are encoded in the format, a four-character
    /// code, or -1 for their own; then only those are that have effects or that browsers cannot show. The
    /// number goes up by one, but for an attachment that should hold a picture and holds none. What cannot
    /// be written is logged ("Failed to write attachment to %@") and leaves no markup.
    void processAttachment(const NSTextAttachmentPtr &attachment, const QString &prefix,
                           qint64 &attachmentNumber, const QString &toPath, const QString &imagesFolder,
                           qint32 usingFormat, qint32 andQuality, QString &addingMarkupTo) const;

private:
    struct Private;
    std::unique_ptr<Private> _private;
};
