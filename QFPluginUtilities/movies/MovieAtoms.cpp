#include "movies/MovieAtoms.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <string_view>
#include <zlib.h>

namespace {

using namespace std::string_view_literals;

constexpr int kDeepest = 12;
constexpr int kMostAtoms = 1'000'000;
constexpr qint64 kLargestTable = qint64(16) << 20;
constexpr qint64 kMostCompression = 1032; // of the method; what comes out then fits into memory
constexpr qint64 kLargestCompressedIndex = 128 << 10;
constexpr quint64 kSharing = 4;             // tracks may share media
constexpr quint64 kMostSamplesInAByte = 64; // of sound, compressed
constexpr quint64 kFewEdits = 8;
constexpr quint64 kMostEditedSamples = quint64(1) << 24;

/// Atoms that consist of atoms.
constexpr std::array kContainers{"moov"sv, "trak"sv, "mdia"sv, "minf"sv, "stbl"sv, "edts"sv,
                                 "udta"sv, "mvex"sv, "moof"sv, "traf"sv, "cmov"sv, "dinf"sv,
                                 "tref"sv, "clip"sv, "wave"sv, "sinf"sv};

quint32 number(QByteArrayView bytes, qsizetype position)
{
    return position + 4 <= bytes.size() ? qFromBigEndian<quint32>(bytes.data() + position) : 0;
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
    Walk(const MovieBytes &bytes, quint64 mediaSize) : _bytes(bytes), _mediaSize(mediaSize) {}

    [[nodiscard]] bool isPlausible() const { return _isPlausible; }
    void atoms(qint64 begin, qint64 end, int depth);

    qint64 index = -1; ///< where it begins; -1 for none
    qint64 media = -1;
    bool hasFragments = false;

private:
    void atom(std::string_view type, qint64 begin, qint64 end, int depth);
    void table(std::string_view type, qint64 begin, qint64 end);
    void compressedIndex(qint64 begin, qint64 end, int depth);
    void checkTrack();
    void require(bool holds) { _isPlausible = _isPlausible && holds; }
    void claimBytes(quint64 count);
    void claimSamples(quint64 count);

    const MovieBytes &_bytes;
    quint64 _mediaSize;
    Track _track;
    quint64 _claimedBytes = 0;
    quint64 _claimedSamples = 0;
    int _count = 0;
    bool _isPlausible = true;
};

void Walk::atoms(qint64 begin, qint64 end, int depth)
{
    require(depth <= kDeepest);
    while (_isPlausible && begin + 8 <= end) {
        require(++_count <= kMostAtoms);
        const QByteArray header = _bytes.bytes(begin, 16);
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
    if (type == "trak")
        _track = {};
    hasFragments = hasFragments || type == "moof";
    if (type == "cmvd")
        compressedIndex(begin, end, depth);
    else if (std::find(kContainers.begin(), kContainers.end(), type) != kContainers.end())
        atoms(begin, end, depth + 1);
    else
        table(type, begin, end);
    if (type == "trak")
        checkTrack();
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
    const QByteArray start = _bytes.bytes(begin, std::min(end - begin, qint64(16)));
    if (type == "stsz") {
        const quint64 size = number(start, 4);
        _track.samples = number(start, 8);
        // With a size of zero each sample has its own in the table.
        if (size == 0)
            require(_track.samples <= quint64(end - begin) / 4);
        else
            claimBytes(size * _track.samples);
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
        _track.samplesOfChunks = _bytes.bytes(begin + 8, std::min(end - begin - 8, kLargestTable));
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

void Walk::compressedIndex(qint64 begin, qint64 end, int depth)
{
    const QByteArray compressed = _bytes.bytes(begin, std::min(end - begin, kLargestCompressedIndex));
    // Its length comes first.
    require(compressed.size() == end - begin &&
            number(compressed, 0) <= compressed.size() * kMostCompression);
    if (!_isPlausible)
        return;
    QByteArray contents(number(compressed, 0), Qt::Uninitialized);
    auto size = static_cast<uLongf>(contents.size());
    const QByteArray source = compressed.mid(4);
    if (uncompress(reinterpret_cast<Bytef *>(contents.data()), &size,
                   reinterpret_cast<const Bytef *>(source.constData()),
                   static_cast<uLong>(source.size())) != Z_OK)
        return; // as nobody else can read it
    const auto whole = MovieBytes::ofData(contents.first(static_cast<qsizetype>(size)));
    Walk walk(*whole, _mediaSize);
    walk.atoms(0, whole->size(), depth + 1);
    require(walk.isPlausible());
}

} // namespace

MovieAtoms MovieAtoms::of(const MovieBytes &bytes)
{
    Walk walk(bytes, static_cast<quint64>(bytes.size()));
    walk.atoms(0, bytes.size(), 0);
    return {walk.isPlausible(), walk.index >= 0 && walk.index < walk.media && !walk.hasFragments};
}
