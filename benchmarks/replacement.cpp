// Replacement of many substrings: against one QString::replace a key, and a search alone by grep, whose
// engine for many fixed strings is an Aho-Corasick automaton.

#include "Measuring.h"

#include "text/NSString+HorspoolFeng.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QVariantMap>

#include <cstdio>
#include <string>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype textLength = 10'000'000;

/// Words as in a language: letters by their frequency in English, in words of 2 to 9.
class Words
{
public:
    QString word(int shortest, int longest)
    {
        QString letters(_random.bounded(shortest, longest + 1), Qt::Uninitialized);
        for (QChar &letter : letters)
            letter = frequent[_random.bounded(int(frequent.size()))];
        return letters;
    }

    QString text(qsizetype length)
    {
        QString words;
        words.reserve(length + 16);
        while (words.size() < length)
            words += word(2, 9) + (_random.bounded(12) == 0 ? u".\n"_s : u" "_s);
        words.truncate(length);
        return words;
    }

private:
    QString frequent =
        u"eeeeeeeeeeeettttttttaaaaaaaooooooooiiiiiiinnnnnnnsssssshhhhhhrrrrrrddddllllcccuuummmwwffggyyppbbvkjxqz"_s;
    QRandomGenerator _random{20};
};

enum class Kind { Rare, Common };

QVariantMap keys(Kind kind, int count, const QString &text)
{
    Words words;
    QRandomGenerator random(5);
    QVariantMap keys;
    while (keys.size() < count) {
        // Rare: eight letters and more, which hardly occur. Common: pieces of the text itself.
        const QString key = kind == Kind::Rare
                                ? words.word(8, 14)
                                : text.mid(random.bounded(int(textLength - 8)), random.bounded(4, 7));
        keys.insert(key, u"<"_s + QString::number(keys.size()) + u">"_s);
    }
    return keys;
}

QString replaced(QString text, const QVariantMap &keys)
{
    HorspoolPang::replaceSubstrings(text, keys);
    return text;
}

QString replacedOneByOne(QString text, const QVariantMap &keys)
{
    for (auto key = keys.begin(); key != keys.end(); ++key)
        text.replace(key.key(), key->toString());
    return text;
}

/// Milliseconds of a count of the lines that hold a key, in the text as UTF-8: a line's first key is enough
/// for it.
double searchedByGrep(const QString &text, const QVariantMap &keys)
{
    const QTemporaryDir folder;
    QFile textFile(folder.filePath(u"text"_s));
    QFile keyFile(folder.filePath(u"keys"_s));
    if (!textFile.open(QIODevice::WriteOnly) || !keyFile.open(QIODevice::WriteOnly))
        return -1;
    textFile.write(text.toUtf8());
    keyFile.write(keys.keys().join(u'\n').toUtf8());
    textFile.close();
    keyFile.close();
    qputenv("LC_ALL", "C");
    return medianMilliseconds([&] {
        return QProcess::execute(u"sh"_s, {u"-c"_s, u"grep -c -F -f \"$1\" \"$2\" | cat > /dev/null"_s,
                                           u"sh"_s, keyFile.fileName(), textFile.fileName()});
    });
}

void measure(Kind kind, int count, const QString &text)
{
    const QVariantMap substrings = keys(kind, count, text);
    const std::string name =
        std::string(kind == Kind::Rare ? "rare" : "common") + ", " + std::to_string(count) + " keys";
    const double ours = medianMilliseconds([&] { return replaced(text, substrings); });
    if (count <= 1000)
        printRatio(name.c_str(), ours, "QString::replace",
                   medianMilliseconds([&] { return replacedOneByOne(text, substrings); }));
    if (kind == Kind::Rare) // where keys are common, a line's beginning is all that it looks at
        printRatio(name.c_str(), ours, "grep -F, search only", searchedByGrep(text, substrings));
}

void measureGrowth(const char *what, qsizetype from, qsizetype to, const QVariantMap &substrings)
{
    Words words;
    double before = 0;
    for (qsizetype length = from; length <= to; length *= 2) {
        const QString text = words.text(length);
        const double now = medianMilliseconds([&] { return replaced(text, substrings); });
        std::printf("%30s, %8lld units %9.2f ms", what, static_cast<long long>(length), now);
        before > 0 ? std::printf("  %.2f times\n", now / before) : std::printf("\n");
        before = now;
    }
}

} // namespace

int main()
{
    Words words;
    const QString text = words.text(textLength);
    {
        // One key that no other overlaps gives what the standard replacement gives, behind the first unit.
        const QVariantMap one{{u"e "_s, u"E_LONGER "_s}};
        require(replaced(u". "_s + text, one) == replacedOneByOne(u". "_s + text, one), "one key");
    }
    for (const Kind kind : {Kind::Rare, Kind::Common}) {
        for (const int count : {10, 100, 1000, 10000})
            measure(kind, count, text);
    }
    const QVariantMap growing{{u"e"_s, u"EEE"_s}, {u"th"_s, u"TTTTT"_s}, {u"a"_s, u""_s}};
    measureGrowth("growing values", 1 << 20, 16 << 20, growing);
    measureGrowth("1,000 rare keys", 1 << 20, 16 << 20, keys(Kind::Rare, 1000, text));
    return 0;
}
