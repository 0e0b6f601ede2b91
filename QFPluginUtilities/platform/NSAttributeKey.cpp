#include "platform/NSAttributeKey.h"

#include <QHash>
#include <QList>
#include <QReadWriteLock>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

/// Names by number and numbers by name; `lock` guards both.
struct KeyTable
{
    QReadWriteLock lock;
    QList<QString> names{QString()};
    QHash<QString, quint16> numbers;

    KeyTable()
    {
        // In the order of the built-in constants.
        for (const QString &name :
             {u"NSFont"_s, u"NSColor"_s, u"NSUnderline"_s, u"NSParagraphStyle"_s, u"NSLink"_s,
              u"NSAttachment"_s, u"NSToolTip"_s, u"kQFTextViewMarkupDirectivesAttribute"_s,
              u"QFTextViewIgnoreFormattingAttribute"_s})
            add(name);
    }

    quint16 add(const QString &name)
    {
        if (names.size() > std::numeric_limits<quint16>::max())
            return 0;
        const auto number = static_cast<quint16>(names.size());
        names.append(name);
        numbers.insert(name, number);
        return number;
    }
};

KeyTable &keyTable()
{
    static KeyTable table;
    return table;
}

quint16 intern(QStringView view)
{
    if (view.isEmpty())
        return 0;
    const QString name = view.toString();
    KeyTable &table = keyTable();
    {
        const QReadLocker reading(&table.lock);
        if (const auto found = table.numbers.constFind(name); found != table.numbers.cend())
            return *found;
    }
    const QWriteLocker writing(&table.lock);
    const auto found = table.numbers.constFind(name);
    return found != table.numbers.cend() ? *found : table.add(name);
}

} // namespace

NSAttributeKey::NSAttributeKey(QStringView name) : _id(intern(name)) {}

QString NSAttributeKey::name() const
{
    KeyTable &table = keyTable();
    const QReadLocker reading(&table.lock);
    return table.names.at(_id);
}
