#pragma once

#include "export/CVHTML.h"
#include "export/CVHTMLMedia.h"
#include "export/CVHTMLRunStyle.h"
#include "platform/QFReport.h"
#include "text/QFHTMLTextWriter.h"

#include <QPointer>
#include <QSet>

/// What one export was asked for; the same for the list items inside it.
struct CVHTMLRequest
{
    QString toPath;
    QString imagesFolder;
    QString imagePrefix;
    QString HTMLTemplate;
    QString contentTag;
    QPointer<QObject> fromPage;
    qint64 depthCorrection = 0;
};

/// One export with all its list items: the request and what their walks share.
class CVHTMLExport
{
public:
    CVHTMLExport(CVHTML &owner, CVHTMLRequest request, const NSAttributedString &text);

    /// The request's template filled with the text's HTML.
    [[nodiscard]] QString exported();

private:
    friend class CVHTMLWalk;

    /// A list item may hold lists as deep as this; deeper ones are exported as plain paragraphs.
    static constexpr qsizetype deepestList = 64;
    /// Units that the filled templates of items may have in all. A template with two placeholders doubles an
    /// item at each level of lists.
    static constexpr qsizetype mostTemplateUnits = qsizetype(1) << 26;

    [[nodiscard]] QString filledTemplate(const QString &content) const;
    void exportItem(NSRange content, qsizetype outerLists, QFHTMLTextWriter &output);

    CVHTML &_owner;
    CVHTMLRequest _request;
    const NSAttributedString _text; ///< shared: what the host does to the caller's text leaves it alone
    CVHTMLRunStyleCache _styles;
    QSet<QString> _writtenFiles;
    QString _pageID;
    qint32 _imageFormat = CVHTMLMedia::kNoFormat;
    qint32 _imageQuality = CVHTMLMedia::kHighQuality;
    bool _placeholderOnly;
    qsizetype _templateRoom = mostTemplateUnits;
};

/// The walk over the runs of a text, or of one list item in it: decides what opens and closes before and
/// behind each run. A list item is a text of its own whose paragraphs are one text list further out than they
/// are here.
class CVHTMLWalk
{
public:
    enum class Output { Own, Shared };

    /// `outerLists` is the number of lists around the item: as many are passed over in each paragraph style.
    /// The output is shared when the text around the item is written to it as well.
    CVHTMLWalk(CVHTMLExport &job, NSRange range, qsizetype outerLists, QFHTMLTextWriter &output, Output kind);

    /// Writes the HTML of the range.
    void run();

private:
    void reserveForRest(qsizetype runsDone);
    qsizetype exportRun(qsizetype run);
    void exportDirectiveRun(const CVHTMLRunStyle &style, NSRange range);
    void exportOrdinaryRun(const CVHTMLRunStyle &style, NSRange range);
    qsizetype exportList(const NSParagraphStyle &style, qsizetype start);
    void exportListItem(NSRange piece, bool hasInnerList);
    [[nodiscard]] bool isInList(const CVHTMLRunStyle &style) const
    {
        return style.paragraphStyle && style.paragraphStyle->textLists.size() > _outerLists;
    }

    void openDirective(const QVariantMap &directive);
    void closeDirective();
    void closeLastDirective();
    void openTableAndCell(const NSTextTableBlock &cell);
    void closeTable();
    void closeCell(const NSTextTableBlock &cell);
    void alignParagraph(NSTextAlignment alignment);
    void alignAttachmentParagraph(NSTextAlignment alignment);

    void appendUnbrokenText(NSRange range);
    void appendLink(const QVariant &link, NSRange range);
    void appendAttachment(const NSTextAttachmentPtr &attachment, NSRange range);
    [[nodiscard]] QStringView textIn(NSRange range) const
    {
        return QStringView(_text.string()).mid(range.location, range.length);
    }

    CVHTMLExport &_job;
    const NSAttributedString &_text;
    NSRange _range;
    qsizetype _outerLists;
    QFHTMLTextWriter &_output;
    Output _outputKind;
    QString _scratch;
    bool _isReserved; ///< only the outermost walk reserves
    bool _paragraphOpen = false;
    NSTextAlignment _alignment = NSTextAlignment::Left;
    bool _directiveOpen = false;
    NSTextTablePtr _table;
    const NSTextTableBlock *_previousCell = nullptr; ///< compared only; the text keeps it alive
    bool _rowOpen = false;
    qint64 _attachmentNumber = 1;
};
