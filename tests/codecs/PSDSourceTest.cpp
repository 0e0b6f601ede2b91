#include "codecs/ImageSource.h"
#include "tests/Rows.h"
#include "tests/codecs/TestPictures.h"

#include <QColorSpace>
#include <QtEndian>

#include <functional>

using namespace TestPictures;

namespace {

enum Mode : quint16 { Bitmap = 0, Grey = 1, Indexed = 2, Colours = 3, CMYK = 4, Multichannel = 7 };

template <typename Number>
QByteArray number(Number value)
{
    QByteArray bytes(sizeof value, Qt::Uninitialized);
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray block(const QByteArray &contents)
{
    return number(quint32(contents.size())) + contents;
}

/// Runs of three and more, literals between them.
QByteArray packed(const QByteArray &row)
{
    QByteArray result;
    for (qsizetype i = 0; i < row.size();) {
        qsizetype run = 1;
        while (i + run < row.size() && run < 128 && row[i + run] == row[i])
            ++run;
        if (run > 2)
            result += QByteArray(1, char(257 - run)) + row[i];
        else
            result += QByteArray(1, char(run - 1)) + row.mid(i, run);
        i += run;
    }
    return result;
}

/// Writes what the reader is to read.
struct Writer
{
    quint16 version = 1;
    quint16 mode = Colours;
    quint16 depth = 8;
    bool isPacked = false;
    QSize size{13, 7};
    QByteArray colours;
    QByteArray resources;
    QByteArray layers;
    int channels = 3;
    std::function<int(int channel, int x, int y)> component;

    [[nodiscard]] QByteArray row(int channel, int y) const
    {
        QByteArray bytes((size.width() * depth + 7) / 8, 0);
        for (int x = 0; x < size.width(); ++x) {
            const int value = component(channel, x, y);
            if (depth == 1)
                bytes[x / 8] = char(bytes[x / 8] | ((value & 1) << (7 - x % 8)));
            else if (depth == 8)
                bytes[x] = char(value);
            else
                qToBigEndian<quint16>(quint16(value * 257), bytes.data() + qsizetype(2) * x);
        }
        return bytes;
    }

    [[nodiscard]] QByteArray file() const
    {
        QByteArray lengths;
        QByteArray data;
        for (int channel = 0; channel < channels; ++channel) {
            for (int y = 0; y < size.height(); ++y) {
                const QByteArray stored = isPacked ? packed(row(channel, y)) : row(channel, y);
                if (isPacked)
                    lengths += version == 2 ? number(quint32(stored.size())) : number(quint16(stored.size()));
                data += stored;
            }
        }
        const QByteArray layerBlock = version == 2 ? number(quint64(layers.size())) + layers : block(layers);
        return "8BPS" + number(version) + QByteArray(6, 0) + number(quint16(channels)) +
               number(quint32(size.height())) + number(quint32(size.width())) + number(depth) + number(mode) +
               block(colours) + block(resources) + layerBlock + number(quint16(isPacked ? 1 : 0)) + lengths +
               data;
    }
};

QByteArray resource(quint16 kind, const QByteArray &data)
{
    return "8BIM" + number(kind) + QByteArray(2, 0) + block(data) + QByteArray(data.size() & 1, 0);
}

int sample(int channel, int x, int y)
{
    return x < 5 ? channel * 60 + y * 9 : (x * 17 + y * 5 + channel * 40) & 0xFF;
}

QImage read(const QByteArray &bytes)
{
    const ImageSourcePtr source = ImageSource::withData(bytes);
    return source && source->format() == ImageSource::Format::PSD ? source->image() : QImage();
}

QImage drawn(QSize size, const std::function<QRgb(int x, int y)> &colour)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, colour(x, y));
    return image;
}

} // namespace

class PSDSourceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsModesAndDepths_data();
    void readsModesAndDepths();
    void takesWhiteOutOfTransparency_data();
    void takesWhiteOutOfTransparency();
    void readsTransparentIndicesAndProfiles();
    void refusesOthers();
    void failsWhereverItIsCutOff();
};

void PSDSourceTest::readsModesAndDepths_data()
{
    QTest::addColumn<Writer>("writer");
    QTest::addColumn<QImage>("expected");
    Writer writer;
    writer.component = sample;
    const auto rgb = [](int x, int y) { return qRgb(sample(0, x, y), sample(1, x, y), sample(2, x, y)); };
    const auto grey = [](int x, int y) { return qRgb(sample(0, x, y), sample(0, x, y), sample(0, x, y)); };
    const auto cmyk = [](int x, int y) {
        const auto component = [&](int i) { return (sample(i, x, y) * sample(3, x, y) + 127) / 255; };
        return qRgb(component(0), component(1), component(2));
    };
    const auto bits = [](int x, int y) { return (sample(0, x, y) & 1) != 0 ? 0xFF000000U : 0xFFFFFFFFU; };
    const auto index = [](int x, int y) {
        const int i = sample(0, x, y);
        return qRgb(i, 255 - i, i / 2);
    };
    const auto add = [&](const char *name, Mode mode, int channels, int depth, const auto &colour) {
        writer.mode = mode;
        writer.channels = channels;
        writer.depth = quint16(depth);
        for (const bool isPacked : {false, true}) {
            for (const int version : {1, 2}) {
                writer.version = quint16(version);
                writer.isPacked = isPacked;
                QTest::addRow("%s %s %d", name, isPacked ? "packed" : "raw", version)
                    << writer << drawn(writer.size, colour);
            }
        }
    };
    add("RGB", Colours, 3, 8, rgb);
    add("RGB and a mask", Colours, 4, 8, rgb);
    add("RGB of 16 bits", Colours, 3, 16, rgb);
    add("grey", Grey, 1, 8, grey);
    add("CMYK", CMYK, 4, 8, cmyk);
    add("bitmap", Bitmap, 1, 1, bits);
    for (const int plane : {0, 1, 2})
        for (int i = 0; i < 256; ++i)
            writer.colours += char(plane == 0 ? i : (plane == 1 ? 255 - i : i / 2));
    add("indexed", Indexed, 1, 8, index);
}

void PSDSourceTest::readsModesAndDepths()
{
    QFETCH(Writer, writer);
    QFETCH(QImage, expected);
    QCOMPARE(read(writer.file()), expected);
    const ImageSourcePtr source = ImageSource::withData(writer.file());
    QCOMPARE(source->scaled({3, 2, 6, 4}, {6, 4}), expected.copy(3, 2, 6, 4));
}

void PSDSourceTest::takesWhiteOutOfTransparency_data()
{
    const Rows<QByteArray, int> row({"layers", "depth"});
    const QByteArray layers = number(qint16(-1));
    row("layers", block(layers), 8);
    row("layers of 16 bits",
        block({}) + block(QByteArray(3, 0)) + "8BIMPatt" + block("12345") + QByteArray(3, 0) + "8BIMLr16" +
            block(layers),
        16);
}

void PSDSourceTest::takesWhiteOutOfTransparency()
{
    QFETCH(QByteArray, layers);
    QFETCH(int, depth);
    Writer writer;
    writer.layers = layers;
    writer.depth = quint16(depth);
    writer.channels = 4;
    // A half-transparent red, as it looks on white; nothing at all on the right.
    writer.component = [](int channel, int x, int) {
        const std::array<int, 4> left{255, 127, 127, 128};
        return x < 6 ? left[size_t(channel)] : (channel == 3 ? 0 : 255);
    };
    const QImage image = read(writer.file());
    QCOMPARE(image.format(), QImage::Format_ARGB32_Premultiplied);
    const auto *row = reinterpret_cast<const QRgb *>(image.constScanLine(0));
    QCOMPARE(row[0], qRgba(128, 0, 0, 128));
    QCOMPARE(row[12], 0U);
}

void PSDSourceTest::readsTransparentIndicesAndProfiles()
{
    Writer writer;
    writer.component = sample;
    writer.resources =
        resource(1000, "odd") + resource(1039, QColorSpace(QColorSpace::AdobeRgb).iccProfile());
    QImage expected = read(writer.file());
    writer.resources.clear();
    QImage plain = read(writer.file());
    plain.setColorSpace(QColorSpace(QColorSpace::AdobeRgb));
    plain.convertToColorSpace(QColorSpace(QColorSpace::SRgb));
    QVERIFY(likeness(expected, plain) > 42);

    writer.mode = Indexed;
    writer.channels = 1;
    writer.colours = QByteArray(768, 'a');
    writer.resources = resource(1047, number(quint16(sample(0, 0, 0))));
    QCOMPARE(qAlpha(read(writer.file()).pixel(0, 0)), 0);
    QCOMPARE(qAlpha(read(writer.file()).pixel(7, 3)), 255);
}

void PSDSourceTest::refusesOthers()
{
    Writer writer;
    writer.component = sample;
    const auto isRefused = [&](auto change) {
        Writer other = writer;
        change(other);
        return !ImageSource::withData(other.file());
    };
    QVERIFY(isRefused([](Writer &w) { w.version = 3; }));
    QVERIFY(isRefused([](Writer &w) { w.mode = Multichannel; }));
    QVERIFY(isRefused([](Writer &w) { w.mode = CMYK; }));
    QVERIFY(isRefused([](Writer &w) { w.mode = Indexed; }));
    QVERIFY(isRefused([](Writer &w) { w.depth = 32; }));
    QVERIFY(isRefused([](Writer &w) { w.size = {0, 7}; }));
    QByteArray bomb = writer.file();
    qToBigEndian<quint32>(50'000, bomb.data() + 14);
    qToBigEndian<quint32>(50'000, bomb.data() + 18);
    QVERIFY(!ImageSource::withData(bomb));
}

void PSDSourceTest::failsWhereverItIsCutOff()
{
    Writer writer;
    writer.component = sample;
    for (const bool isPacked : {false, true}) {
        writer.isPacked = isPacked;
        const QByteArray whole = writer.file();
        for (qsizetype length = 0; length < whole.size(); ++length)
            QVERIFY(read(whole.left(length)).isNull());
        // Any byte may be wrong.
        for (qsizetype i = 0; i < whole.size(); ++i) {
            QByteArray broken = whole;
            broken[i] = char(~broken[i]);
            (void)read(broken);
        }
    }
}

QTEST_GUILESS_MAIN(PSDSourceTest)
#include "PSDSourceTest.moc"
