#pragma once

#include <QString>
#include <QStringView>

#include <array>
#include <vector>

/// Copies text and writes replacements for some of its units: stretches without such units are copied eight
/// units at a time. Set up once, then read-only and usable on any thread.
class QFUnitEncoder
{
public:
    /// Sets what stands for `unit`; the later of two calls wins. An empty replacement is none.
    void setReplacement(char16_t unit, QStringView replacement);
    /// Makes CR LF, CR and LF one line break each, except where CR or LF has a replacement by then.
    void setLineBreaks(QStringView lineBreak);

    [[nodiscard]] bool replaces(char16_t unit) const { return entryFor(unit) != 0; }
    /// Index of the first unit that has a replacement, or -1.
    [[nodiscard]] qsizetype firstReplaced(QStringView text) const;
    /// Whether CR or LF is a line break, rather than kept or replaced on its own.
    [[nodiscard]] bool breaksAt(char16_t unit) const
    {
        return entryFor(unit) == (unit == u'\n' ? LineFeed : CarriageReturn);
    }

    /// The text that is being encoded; `from` moves on, `start` is where a look at the unit before may go.
    struct Source
    {
        const char16_t *start;
        const char16_t *from;
        const char16_t *end;
    };

    /// Writes at `output`, and moves it, until the source is used up (true) or it is beyond `limit` (false).
    /// Up to `slack()` units behind `limit` are written to, some of them with what does not count.
    [[nodiscard]] bool encode(Source &source, char16_t *&output, const char16_t *limit) const;
    [[nodiscard]] qsizetype slack() const { return _slack; }

    /// All of `text`; the text itself when nothing is replaced.
    [[nodiscard]] QString encoded(const QString &text) const;
    /// Appends all of `text`; amortised, no allocation while there is room.
    void append(QString &output, QStringView text) const;

private:
    static constexpr qsizetype blockLength = 8;
    static constexpr int blocksInStretch = 8;
    static constexpr qsizetype stretchLength = blocksInStretch * blockLength;
    static constexpr qsizetype shortLength = 15;

    /// One replacement, of a size that is copied by two vector stores. A long one lies in `_longTexts`.
    struct alignas(32) Entry
    {
        std::array<char16_t, shortLength> text{};
        quint16 length = 0;
    };
    enum Reserved : quint16 { None = 0, LineFeed = 1, CarriageReturn = 2 };

    [[nodiscard]] quint16 entryFor(char16_t unit) const
    {
        return _index[std::min<size_t>(unit, _index.size() - 1)];
    }
    void setEntry(char16_t unit, quint16 entry);
    void storeText(quint16 entry, QStringView text);
    class Kernel;

    std::vector<quint16> _index =
        std::vector<quint16>(1); ///< entry of each unit; the last stands for all above
    std::vector<Entry> _entries = std::vector<Entry>(3);
    std::vector<QString> _longTexts = std::vector<QString>(3);
    char16_t _lowest = u'\uFFFF'; ///< every unit with a replacement, line breaks aside, is at least this
    bool _breaksLines = false;
    qsizetype _slackOfStretch = stretchLength; ///< room beyond which a stretch cannot write
    qsizetype _slack = blockLength * (shortLength + 1) + 2 * blockLength;
};
