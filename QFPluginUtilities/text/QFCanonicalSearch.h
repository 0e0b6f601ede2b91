#pragma once

#include "platform/NSRange.h"

#include <QString>
#include <QStringView>

/// Searches a text for a target without regard to how their characters are composed. A hit is a range whose
/// canonical decomposition is that of the target and behind which no combining mark goes on. The search
/// borrows the text.
class QFCanonicalSearch
{
public:
    QFCanonicalSearch(QStringView text, const QString &target);

    /// The first hit at `from` or behind it; not found for an empty target.
    [[nodiscard]] NSRange next(qsizetype from) const;

private:
    [[nodiscard]] qsizetype endOfHitAt(qsizetype start) const;
    [[nodiscard]] bool startsLikeTarget(qsizetype index) const;

    QStringView _text;
    QString _target;       ///< decomposed, unless `_literal`
    char32_t _first = 0;   ///< first code point of it
    bool _literal = false; ///< both are ASCII, so that spelling is all
};
