#pragma once

#include "export/CVHTML.h"
#include "export/CVHTMLMedia.h"
#include "export/CVHTMLRunStyle.h"
#include "export/NSAttributedString+NSStringOperations.h"
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
    CVHTMLExport(CVHTML &owner, CVHTMLRequest request);

    /// The request's template filled with the text's HTML.
    [[nodiscard]] QString exported(const NSAttributedString &text);

private:
    friend class CVHTMLWalk;

    /// A list item may hold lists as deep as this; deeper ones are exported as plain paragraphs.
    static constexpr int deepestList = 64;

    [[nodiscard]] QString filledTemplate(const QString &content) const;
    /// The text of a list item, one list further out.
    [[nodiscard]] NSAttributedString itemContent(const NSAttributedString &item);
    [[nodiscard]] QString exportedItem(const NSAttributedString &item);

    CVHTML &_owner;
    CVHTMLRequest _request;
    CVHTMLRunStyleCache _styles;
    NSStringOperations::AmendedDictionaries _amended;
    QSet<QString> _writtenFiles;
    QString _pageID;
    qint32 _imageFormat = CVHTMLMedia::kNoFormat;
    qint32 _imageQuality = CVHTMLMedia::kHighQuality;
    bool _placeholderOnly;
    int _depth = 0;
};

/// The walk over the runs of one text: decides what opens and closes before and behind each run.
class CVHTMLWalk
{
public:
    CVHTMLWalk(CVHTMLExport &job, const NSAttributedString &text);

    /// The text's HTML. To be called once.
    [[nodiscard]] QString html();

private:
    qsizetype exportRun(qsizetype run);
    void exportDirectiveRun(const CVHTMLRunStyle &style, NSRange range);
    void exportOrdinaryRun(const CVHTMLRunStyle &style, NSRange range);
    qsizetype exportList(qsizetype run);
    void exportListItem(NSRange piece, bool hasInnerList);

    void openDirective(const QVariantMap &directive);
    void closeDirective();
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
    const NSAttributedString _text; ///< shared: what the host does to the caller's text leaves it alone
    QFHTMLTextWriter _output;
    QString _scratch;
    bool _paragraphOpen = false;
    NSTextAlignment _alignment = NSTextAlignment::Left;
    bool _directiveOpen = false;
    NSTextTablePtr _table;
    const NSTextTableBlock *_previousCell = nullptr; ///< compared only; the text keeps it alive
    bool _rowOpen = false;
    qint64 _attachmentNumber = 1;
};
