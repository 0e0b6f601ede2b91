// Replacement of many substrings: against one QString::replace a key, and a search alone by grep, whose
// engine for many fixed strings is an Aho-Corasick automaton.

#include "Measuring.h"

#include "text/NSString+HorspoolFeng.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QVariantMap>

#include <cstdio>
#include <deque>
#include <string>
#include <utility>
#include <vector>

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

/// States by classes of units: units of the keys each have a class of their own, all others are class 0.
class Automaton
{
public:
    explicit Automaton(const QStringList &keys) : _classOf(0x10000)
    {
        for (const QString &key : keys) {
            for (const QChar unit : key) {
                if (_classOf[unit.unicode()] == 0)
                    _classOf[unit.unicode()] = _classes++;
            }
        }
        addState();
        for (const QString &key : keys)
            add(key);
        addFallbacks();
    }

    qsizetype hits(const QString &text) const
    {
        qsizetype hits = 0;
        std::size_t state = 0;
        for (const QChar unit : text) {
            state = _next[state * _classes + _classOf[unit.unicode()]];
            hits += _isHit[state];
        }
        return hits;
    }

private:
    static constexpr quint32 kNone = ~quint32(0);

    quint32 addState()
    {
        _next.resize(_next.size() + _classes, kNone);
        _isHit.push_back(0);
        return quint32(_isHit.size() - 1);
    }

    void add(const QString &key)
    {
        std::size_t state = 0;
        for (const QChar unit : key) {
            const std::size_t edge = state * _classes + _classOf[unit.unicode()];
            if (_next[edge] == kNone) {
                const quint32 added = addState();
                _next[edge] = added;
            }
            state = _next[edge];
        }
        _isHit[state] = 1;
    }

    void addFallbacks()
    {
        std::vector<std::size_t> fallback(_isHit.size());
        std::deque<std::size_t> waiting{0};
        for (; !waiting.empty(); waiting.pop_front()) {
            const std::size_t state = waiting.front();
            _isHit[state] |= _isHit[fallback[state]];
            for (std::size_t c = 0; c < _classes; c++) {
                quint32 &next = _next[state * _classes + c];
                const quint32 other = state == 0 ? 0 : _next[fallback[state] * _classes + c];
                if (next == kNone) {
                    next = other;
                    continue;
                }
                fallback[next] = other;
                waiting.push_back(next);
            }
        }
    }

    std::vector<quint16> _classOf;
    quint16 _classes = 1;
    std::vector<quint32> _next;
    std::vector<quint8> _isHit;
};

void measure(Kind kind, int count, const QString &text)
{
    const QVariantMap substrings = keys(kind, count, text);
    const std::string name =
        std::string(kind == Kind::Rare ? "rare" : "common") + ", " + std::to_string(count) + " keys";
    const double ours = medianMilliseconds([&] { return replaced(text, substrings); });
    if (count <= 1000)
        printRatio(name.c_str(), ours, "QString::replace",
                   medianMilliseconds([&] { return replacedOneByOne(text, substrings); }));
    const Automaton automaton(substrings.keys());
    printRatio(name.c_str(), ours, "automaton, search only",
               medianMilliseconds([&] { return automaton.hits(text); }));
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
