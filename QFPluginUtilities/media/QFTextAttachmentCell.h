#pragma once

#include "platform/NSTextAttachmentCell.h"

/// Shows an attachment's picture in its own size; any other file as a sheet of paper with the file's name.
class QF_EXPORT QFTextAttachmentCell : public NSTextAttachmentCell
{
public:
    [[nodiscard]] QString className() const override;
    [[nodiscard]] NSSize cellSize() const override;

protected:
    void draw(const NSRect &frame, QPainter &painter, qsizetype characterIndex,
              QObject *layoutManager) override;
};
