#include "movies/MovieAtoms.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>
#include <zlib.h>

namespace {

using namespace std::string_view_literals;

constexpr int kDeepest = 12;
constexpr int kMostAtoms = 1'000'000;
constexpr qint64 kLargestTable = qint64(16) << 20;
// Only old films have a compressed index, of a few kilobytes a minute.
constexpr qint64 kLargestCompressedIndex = 1 << 20;
constexpr qint64 kLargestInflatedIndex = qint64(8) << 20;
constexpr qint64 kLargestDescription = 1 << 20;
constexpr quint64 kMostKeys = 512;          // of metadata; the media library compares each with all others
constexpr quint64 kSharing = 4;             // tracks may share media
constexpr quint64 kMostSamplesInAByte = 64; // of sound, compressed
constexpr quint64 kFewEdits = 8;
constexpr quint64 kMostEditedSamples = quint64(1) << 24;

/// Atoms that consist of atoms.
constexpr std::array kContainers{"moov"sv, "trak"sv, "mdia"sv, "minf"sv, "stbl"sv, "edts"sv,
                                 "udta"sv, "mvex"sv, "moof"sv, "traf"sv, "cmov"sv, "dinf"sv,
                                 "tref"sv, "clip"sv, "wave"sv, "sinf"sv, "ilst"sv, "hoov"sv};

/// Atoms that the media library would also follow where they do not belong.
constexpr std::array kTables{"cmov"sv, "trak"sv, "stsz"sv, "stz2"sv, "stsc"sv, "stco"sv,
                             "co64"sv, "elst"sv, "stts"sv, "trun"sv, "meta"sv, "keys"sv};

quint32 number(QByteArrayView bytes, qsizetype position)
{
    return position + 4 <= bytes.size() ? qFromBigEndian<quint32>(bytes.data() + position) : 0;
}

/// Whether bytes that are not walked over name atoms that would have to be looked at.
bool hidesTables(const QByteArray &bytes)
{
    return std::any_of(kTables.begin(), kTables.end(), [&](std::string_view name) {
        return bytes.contains(QByteArrayView(name.data(), static_cast<qsizetype>(name.size())));
    });
}

/// What the tables of one track say. Their numbers have 32 bits, so that products of two fit.
struct Track
{
    quint64 samples = 0;
    quint64 chunks = 0;
    quint64 edits = 0;
    bool isSound = false;
    bool isEvenlyTimed = false; ///< each sample is as short as the next one, and as short as can be
    QByteArray samplesOfChunks;
};

class Walk
{
public:
    Walk(const MovieBytes &bytes, QDeadlineTimer deadline)
        : _bytes(&bytes), _deadline(deadline), _mediaSize(static_cast<quint64>(bytes.size()))
    {
    }

    [[nodiscard]] bool isPlausible() const { return _isPlausible; }
    void atoms(qint64 begin, qint64 end, int depth);

    qint64 index = -1; ///< where it begins; -1 for none
    qint64 media = -1;
    bool hasFragments = false;

private:
    void atom(std::string_view type, qint64 begin, qint64 end, int depth);
    void track(qint64 begin, qint64 end, int depth);
    void metadata(qint64 begin, qint64 end, int depth);
    void table(std::string_view type, qint64 begin, qint64 end);
    void compressedIndex(qint64 begin, qint64 end, int depth);
    void checkTrack();
    void require(bool holds) { _isPlausible = _isPlausible && holds; }
    void claimBytes(quint64 count);
    void claimSamples(quint64 count);

    const MovieBytes *_bytes;
    QDeadlineTimer _deadline;
    quint64 _mediaSize;
    Track _track;
    quint64 _claimedBytes = 0;
    quint64 _claimedSamples = 0;
    quint64 _keys = 0;
    int _count = 0;
    bool _isInTrack = false;
    bool _hasCompressedIndex = false;
    bool _isPlausible = true;
};

void Walk::atoms(qint64 begin, qint64 end, int depth)
{
    require(depth <= kDeepest);
    while (_isPlausible && begin + 8 <= end) {
        require(++_count <= kMostAtoms && !_deadline.hasExpired());
        const QByteArray header = _bytes->bytes(begin, 16);
        qint64 size = number(header, 0);
        qint64 headerSize = 8;
        if (size == 1 && header.size() == 16) {
            size = qFromBigEndian<qint64>(header.constData() + 8);
            headerSize = 16;
        } else if (size == 0) {
            size = end - begin;
        }
        if (size < headerSize)
            return;
        size = std::min(size, end - begin);
        const std::string_view type(header.constData() + 4, 4);
        if (depth == 0 && type == "moov" && index < 0)
            index = begin;
        if (depth == 0 && type == "mdat" && media < 0)
            media = begin;
        atom(type, begin + headerSize, begin + size, depth);
        begin += size;
    }
}

void Walk::atom(std::string_view type, qint64 begin, qint64 end, int depth)
{
    hasFragments = hasFragments || type == "moof";
    if (type == "cmvd")
        compressedIndex(begin, end, depth);
    else if (type == "trak")
        track(begin, end, depth);
    else if (type == "meta")
        metadata(begin, end, depth);
    else if (std::find(kContainers.begin(), kContainers.end(), type) != kContainers.end())
        atoms(begin, end, depth + 1);
    else
        table(type, begin, end);
}

void Walk::track(qint64 begin, qint64 end, int depth)
{
    require(!std::exchange(_isInTrack, true));
    _track = {};
    atoms(begin, end, depth + 1);
    checkTrack();
    _isInTrack = false;
}

/// The atoms begin with "hdlr"; some writers put version and flags before it.
void Walk::metadata(qint64 begin, qint64 end, int depth)
{
    constexpr qint64 kName = 4;
    while (begin + 2 * kName <= end && !_deadline.hasExpired() &&
           _bytes->bytes(begin + kName, kName) != "hdlr")
        begin += kName;
    atoms(begin, end, depth + 1);
}

void Walk::claimBytes(quint64 count)
{
    const quint64 most = _mediaSize * kSharing;
    _claimedBytes += std::min(count, most + 1);
    require(_claimedBytes <= most);
}

void Walk::claimSamples(quint64 count)
{
    const quint64 most = _mediaSize * kMostSamplesInAByte;
    _claimedSamples += std::min(count, most + 1);
    require(_claimedSamples <= most);
}

/// The tables whose numbers take memory. Each begins with four bytes of version and flags.
void Walk::table(std::string_view type, qint64 begin, qint64 end)
{
    const QByteArray start = _bytes->bytes(begin, std::min(end - begin, qint64(16)));
    if (type == "stsz") {
        const quint64 size = number(start, 4);
        _track.samples = number(start, 8);
        // With a size of zero each sample has its own in the table.
        if (size == 0)
            require(_track.samples <= quint64(end - begin) / 4);
        else
            claimBytes(size * _track.samples);
    } else if (type == "stsd") {
        require(end - begin <= kLargestDescription && !hidesTables(_bytes->bytes(begin, end - begin)));
    } else if (type == "keys") {
        _keys += number(start, 4);
        require(_keys <= kMostKeys);
    } else if (type == "stco" || type == "co64") {
        _track.chunks = number(start, 4);
    } else if (type == "elst") {
        _track.edits = number(start, 4);
    } else if (type == "hdlr") {
        _track.isSound = start.mid(8, 4) == "soun";
    } else if (type == "stts") {
        _track.isEvenlyTimed = number(start, 4) == 1 && number(start, 12) == 1;
    } else if (type == "trun") {
        claimSamples(number(start, 4));
    } else if (type == "stsc") {
        require(end - begin <= kLargestTable);
        _track.samplesOfChunks = _bytes->bytes(begin + 8, std::min(end - begin - 8, kLargestTable));
    }
}

void Walk::checkTrack()
{
    // Each entry holds for the chunks from its first one, counted from 1, up to the next entry's.
    const QByteArray &entries = _track.samplesOfChunks;
    for (qsizetype i = 0; _isPlausible && i + 12 <= entries.size(); i += 12) {
        const quint64 first = number(entries, i);
        const quint64 next = i + 24 <= entries.size() ? number(entries, i + 12) : _track.chunks + 1;
        require(first >= 1 && first <= next);
        if (_isPlausible)
            claimSamples((next - first) * number(entries, i + 4));
    }
    // Every edit may show all samples again. Plain sound is read in blocks of 1024 samples.
    const quint64 pieces = _track.isSound && _track.isEvenlyTimed ? _track.samples / 1024 : _track.samples;
    require(_track.edits <= kFewEdits || _track.edits * pieces <= kMostEditedSamples);
}

/// A movie has one at most. What comes out counts together with all else.
void Walk::compressedIndex(qint64 begin, qint64 end, int depth)
{
    require(!_isInTrack && !std::exchange(_hasCompressedIndex, true));
    const QByteArray compressed = _bytes->bytes(begin, std::min(end - begin, kLargestCompressedIndex));
    // Its length comes first.
    require(compressed.size() == end - begin && number(compressed, 0) <= kLargestInflatedIndex);
    if (!_isPlausible)
        return;
    QByteArray contents(number(compressed, 0), Qt::Uninitialized);
    auto size = static_cast<uLongf>(contents.size());
    const QByteArray source = compressed.mid(4);
    if (uncompress(reinterpret_cast<Bytef *>(contents.data()), &size,
                   reinterpret_cast<const Bytef *>(source.constData()),
                   static_cast<uLong>(source.size())) != Z_OK)
        return; // as nobody else can read it
    const auto inflated = MovieBytes::ofData(contents.first(static_cast<qsizetype>(size)));
    const MovieBytes *const outside = std::exchange(_bytes, inflated.get());
    atoms(0, inflated->size(), depth + 1);
    _bytes = outside;
}

} // namespace

MovieAtoms MovieAtoms::of(const MovieBytes &bytes, QDeadlineTimer deadline)
{
    Walk walk(bytes, deadline);
    walk.atoms(0, bytes.size(), 0);
    // Without an index, the media library looks for one in the free space.
    return {walk.isPlausible() && walk.index >= 0,
            walk.index >= 0 && walk.index < walk.media && !walk.hasFragments};
}
