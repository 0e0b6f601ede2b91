#include "host/build/PageTemplate.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// Noncharacters, which are meant for internal use. A mark is one of the first, then one whose distance from
// kFirstNumber is the placeholder's number.
constexpr char16_t kMark = u'\uFDD0';
constexpr char16_t kFirstNumber = u'\uE000';
constexpr qsizetype kMaximumPlaceholders = 0x1000;

bool mayStandInPlaceholder(QChar unit)
{
    return unit.isLetterOrNumber() || unit == u'_' || unit == u':' || unit == u'-' || unit == u'.';
}

} // namespace

PageTemplate::PageTemplate(const QString &text, const QList<QStringView> &names)
{
    QString source = text;
    source.remove(QChar(kMark));
    const QStringView view(source);
    for (qsizetype at = 0; at < view.size();) {
        const qsizetype percent = view.indexOf(u'%', at);
        if (percent < 0) {
            _marked += view.sliced(at);
            break;
        }
        _marked += view.sliced(at, percent - at);
        qsizetype end = percent + 1;
        while (end < view.size() && mayStandInPlaceholder(view.at(end)))
            ++end;
        const QStringView inside = view.sliced(percent + 1, end - percent - 1);
        const qsizetype colon = inside.indexOf(u':');
        const QStringView name = colon < 0 ? inside : inside.first(colon);
        const bool isPlaceholder = end < view.size() && view.at(end) == u'%' && names.contains(name) &&
                                   _placeholders.size() < kMaximumPlaceholders;
        if (isPlaceholder) {
            _marked += QChar(kMark);
            _marked += QChar(static_cast<char16_t>(kFirstNumber + _placeholders.size()));
            _placeholders.append(
                {name.toString(), colon < 0 ? QString() : inside.sliced(colon + 1).toString()});
            at = end + 1;
        } else {
            _marked += u'%';
            at = percent + 1;
        }
    }
}

QString
PageTemplate::filled(const QString &marked,
                     const std::function<QString(QStringView name, QStringView argument)> &value) const
{
    QString page;
    page.reserve(marked.size() * 2);
    const QStringView view(marked);
    for (qsizetype at = 0; at < view.size();) {
        const qsizetype mark = view.indexOf(QChar(kMark), at);
        if (mark < 0) {
            page += view.sliced(at);
            break;
        }
        page += view.sliced(at, mark - at);
        const qsizetype number = mark + 1 < view.size() ? view.at(mark + 1).unicode() - kFirstNumber : -1;
        if (number >= 0 && number < _placeholders.size()) {
            const Placeholder &placeholder = _placeholders.at(number);
            page += value(placeholder.name, placeholder.argument);
            at = mark + 2;
        } else {
            at = mark + 1;
        }
    }
    return page;
}
