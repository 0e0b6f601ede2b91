// Whole exports, file to file, beside sharp, libvips and, as programs, ImageMagick and GraphicsMagick, where
// these are installed: all do the same work at the same size and quality, by turns. Names of jobs as
// arguments pick some of them. Of sharp, QF_NODE_MODULES names the folder.

#include "Contest.h"
#include "ImagePeers.h"
#include "Measuring.h"
#include "Photo.h"

#include "media/QFQTExport.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QPainter>
#include <QTemporaryDir>

#include <atomic>
#include <cmath>
#include <cstring>
#include <memory>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize kLarge(6'000, 4'000);
constexpr QSize kPage(800, 533);
constexpr int kSmallPictures = 200;

void doByUs(const PictureJob &job)
{
    const auto exporter = QFQTExport::exporterWithFile(job.source);
    exporter->setDestination(job.target);
    exporter->setQuality(768); // counts as a factor of 0.75
    if (job.format() == u"png")
        exporter->setFormat(0x504E4766);
    else if (job.format() == u"gif")
        exporter->setFormat(0x47494666);
    const auto attributes = std::make_shared<QVariantMap>(
        QVariantMap{{u"width"_s, job.size.width()}, {u"height"_s, job.size.height()}});
    if (job.effects) {
        attributes->insert({{u"enableborder"_s, true},
                            {u"bordersize"_s, job.effects->border},
                            {u"enableshadow"_s, true},
                            {u"shadowoffset"_s, job.effects->offset},
                            {u"shadowblur"_s, job.effects->blur},
                            {u"shadowcolour"_s, QVariant::fromValue(NSColor::calibratedRGB(0, 0, 0, 0.5F))},
                            {u"rotation"_s, job.effects->degrees},
                            {u"fillcolour"_s, QVariant::fromValue(NSColor::whiteColor())}});
    }
    exporter->setAttributes(attributes);
    require(exporter->exportImage() == QFQTExport::noErr, "export");
}

void doByUs(const QList<PictureJob> &jobs, int threads)
{
    std::atomic<qsizetype> next = 0;
    const auto work = [&] {
        for (qsizetype job = next++; job < jobs.size(); job = next++)
            doByUs(jobs[job]);
    };
    std::vector<std::thread> helpers;
    for (int helper = 1; helper < threads; ++helper)
        helpers.emplace_back(work);
    work();
    for (std::thread &helper : helpers)
        helper.join();
}

QImage decoded(const QString &path)
{
    const QImage image = QImageReader(path).read();
    require(!image.isNull(), qPrintable(path));
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

/// What a job should give, but for a shadow that is not blurred.
QImage reference(const PictureJob &job)
{
    const QImage picture =
        decoded(job.source).scaled(job.size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    if (!job.effects)
        return picture;
    const Effects &effects = *job.effects;
    const QRect frame(QPoint(), job.size + QSize(2, 2) * effects.border);
    const int room = effects.offset + (effects.blur + 1) / 2;
    QImage canvas(frame.size() + QSize(room, room), picture.format());
    canvas.fill(Qt::white);
    QPainter painter(&canvas);
    painter.fillRect(frame.translated(effects.offset, effects.offset), QColor(0, 0, 0, 128));
    painter.fillRect(frame, Qt::black);
    painter.drawImage(effects.border, effects.border, picture);
    painter.end();
    const QSizeF bounds = QTransform().rotate(effects.degrees).mapRect(QRectF(canvas.rect())).size();
    QImage turned(int(std::ceil(bounds.width())), int(std::ceil(bounds.height())), picture.format());
    turned.fill(Qt::white);
    painter.begin(&turned);
    painter.setRenderHints(QPainter::SmoothPixmapTransform | QPainter::Antialiasing);
    painter.translate(turned.width() / 2.0, turned.height() / 2.0);
    painter.rotate(effects.degrees);
    painter.drawImage(QPointF(-canvas.width() / 2.0, -canvas.height() / 2.0), canvas);
    painter.end();
    return turned;
}

/// Peers may differ by a pixel in the size of a turned picture.
double meanSquare(const QImage &reference, const QImage &image)
{
    const QSize apart = reference.size() - image.size();
    require(std::abs(apart.width()) <= 2 && std::abs(apart.height()) <= 2, "size of a result");
    double sum = 0;
    const QImage same = image.scaled(reference.size());
    const qsizetype count = qsizetype(reference.width()) * 4;
    for (int y = 0; y < reference.height(); ++y) {
        const uchar *const a = reference.constScanLine(y);
        const uchar *const b = same.constScanLine(y);
        qint64 row = 0;
        for (qsizetype i = 0; i < count; ++i)
            row += (a[i] - b[i]) * (a[i] - b[i]);
        sum += double(row);
    }
    return sum / double(count) / reference.height();
}

/// Everyone's jobs, named after them.
class Bench
{
public:
    explicit Bench(const QStringList &picked) : _picked(picked) {}

    [[nodiscard]] bool wants(const QString &name) const
    {
        return _picked.isEmpty() || _picked.contains(name);
    }
    [[nodiscard]] QString path(const QString &name) const { return _folder.filePath(name); }
    SharpPeer &sharp() { return _sharp; }

    QString photo()
    {
        const QString made = path(u"photo.jpg"_s);
        if (!QFile::exists(made))
            require(Photo::opaque(kLarge).save(made, "jpg", 90), "photo");
        return made;
    }

    /// One picture by all who can make it; the mean error beside a reference must stay below a bound.
    void one(const char *title, const PictureJob &job, double worstPSNR, int rounds = 25)
    {
        std::printf("%s\n", title);
        Contest contest;
        contest.add("ours", [&] { return timed([&] { doByUs(job.by(u"ours"_s)); }); });
        if (_sharp.isThere())
            contest.add("sharp", [&] { return _sharp.run({job.by(u"sharp"_s)}); });
#ifdef QF_HAS_VIPS
        if (!job.effects)
            contest.add("libvips", [&] { return timed([&] { VipsPeer::run(job.by(u"libvips"_s)); }); });
#endif
        // Debian's limits for ImageMagick do not allow the full picture with its shadow.
        if (QFile::exists(ProgramPeers::kMagick) && !(job.effects && job.size == kLarge))
            contest.add("convert", [&] { return ProgramPeers::convert(job.by(u"convert"_s)); });
        if (QFile::exists(ProgramPeers::kGraphicsMagick) && !job.effects)
            contest.add("gm", [&] { return ProgramPeers::gm(job.by(u"gm"_s)); });
        contest.run(rounds);
        const QImage expected = reference(job);
        contest.print([&](const std::string &name) {
            const QString target = job.by(QString::fromStdString(name)).target;
            const double psnr = 10 * std::log10(255.0 * 255 / meanSquare(expected, decoded(target)));
            require(psnr > worstPSNR, qPrintable(target));
            return QStringLiteral("%1 kB, %2 dB")
                .arg(QFileInfo(target).size() / 1024)
                .arg(psnr, 0, 'f', 1)
                .toStdString();
        });
    }

    void many();
    void memory();

private:
    QStringList _picked;
    QTemporaryDir _folder;
    SharpPeer _sharp;
};

/// Parts of the large photograph, as files of their own.
void Bench::many()
{
    const QImage photo = decoded(this->photo()).convertToFormat(QImage::Format_RGB32);
    QList<PictureJob> plain;
    for (int i = 0; i < kSmallPictures; ++i) {
        const QString source = path(u"small%1.jpg"_s.arg(i));
        const QRect part(QPoint(i % 20 * 230, i / 20 * 300), QSize(1'600, 1'200));
        require(photo.copy(part).save(source, "jpg", 90), "small photo");
        plain.append({source, path(u"small%1-made.jpg"_s.arg(i)), {200, 150}});
    }
    QList<PictureJob> framed = plain;
    for (PictureJob &job : framed)
        job.effects.emplace(320).degrees = 0;

    std::printf("200 JPEGs of 2 MP to 200 px. Goal: 3 times sharp (5); two threads 1.8 times one\n");
    Contest contest;
    contest.add("ours", [&] { return timed([&] { doByUs(plain, 1); }); });
    contest.add("ours, two threads", [&] { return timed([&] { doByUs(plain, 2); }); });
    contest.add("ours, framed", [&] { return timed([&] { doByUs(framed, 1); }); });
    contest.add("ours, framed, two threads", [&] { return timed([&] { doByUs(framed, 2); }); });
    if (_sharp.isThere()) {
        contest.add("sharp", [&] { return _sharp.run(plain); });
        contest.add("sharp, two at a time", [&] { return _sharp.run(plain, 2); });
    }
#ifdef QF_HAS_VIPS
    contest.add("libvips", [&] {
        return timed([&] {
            for (const PictureJob &job : plain)
                VipsPeer::run(job);
        });
    });
#endif
    contest.run(7);
    contest.print([](const std::string &) { return std::string(); });
    // The base stage of framed pictures is drawn under a lock.
    std::printf("  two threads: %.2f times one; framed, one at a time for a moment each: %.2f times\n",
                contest.wall(0) / contest.wall(1), contest.wall(2) / contest.wall(3));
}

double kilobytes(const char *key)
{
    QFile status(u"/proc/self/status"_s);
    require(status.open(QIODevice::ReadOnly), "status");
    const QByteArray text = status.readAll();
    return text.mid(text.indexOf(key) + qsizetype(std::strlen(key)) + 1)
        .trimmed()
        .split(' ')
        .first()
        .toDouble();
}

/// In a process of its own: most memory that it has had, less what it had before.
int printMemory(const QString &who, const PictureJob &job)
{
    const double before = kilobytes("VmRSS");
    if (who == u"ours")
        doByUs(job);
#ifdef QF_HAS_VIPS
    else
        VipsPeer::run(job);
#endif
    std::printf("%.1f\n", (kilobytes("VmHWM") - before) / 1024);
    return 0;
}

void Bench::memory()
{
    const PictureJob job{photo(), path(u"memory.jpg"_s), kPage};
    std::printf(
        "memory added by 24 MP JPEG to 800 px JPEG. Goal: 60 MB (8), the file with its %.1f MB included\n",
        double(QFileInfo(job.source).size()) / (1 << 20));
    for (const QString &who : {u"ours"_s, u"libvips"_s}) {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {u"--memory"_s, who, job.source, job.target});
        require(child.waitForFinished() && child.exitCode() == 0, "memory");
        std::printf("  %-26s %9.1f MB\n", qPrintable(who), child.readAll().trimmed().toDouble());
    }
    SharpPeer fresh;
    if (fresh.isThere())
        std::printf("  %-26s %9.1f MB\n", "sharp", fresh.megabytes(job));
}

void runAll(Bench &bench)
{
    if (bench.wants(u"scale"_s))
        bench.one("24 MP JPEG to 800 px JPEG. Goal: faster than sharp and libvips (2 times sharp)",
                  {bench.photo(), bench.path(u"scale.jpg"_s), kPage}, 30);
    if (bench.wants(u"effects"_s))
        bench.one("24 MP JPEG to 800 px JPEG with frame, shadow, turn and ground. Goal: faster than sharp "
                  "(2.2 times)",
                  {bench.photo(), bench.path(u"effects.jpg"_s), kPage, Effects(kPage.width())}, 22);
    if (bench.wants(u"full"_s))
        bench.one("24 MP JPEG with effects at its size. Goal: below 1.5 s",
                  {bench.photo(), bench.path(u"full.jpg"_s), kLarge, Effects(kLarge.width())}, 22, 5);
    if (bench.wants(u"many"_s))
        bench.many();
    if (bench.wants(u"png"_s)) {
        const QString source = bench.path(u"fading.png"_s);
        require(Photo::fading({2'400, 1'600}).save(source, "png", 50), "fading photo");
        bench.one("4 MP PNG with alpha to 800 px PNG. Goal: as fast as sharp (2 times)",
                  {source, bench.path(u"scaled.png"_s), kPage}, 30);
    }
    if (bench.wants(u"gif"_s))
        bench.one("24 MP JPEG to 800 px GIF. Goal: 2 times libvips (2.7)",
                  {bench.photo(), bench.path(u"scale.gif"_s), kPage}, 20);
    if (bench.wants(u"memory"_s))
        bench.memory();
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QImageReader::setAllocationLimit(0);
#ifdef QF_HAS_VIPS
    require(vips_init(argv[0]) == 0, "libvips starts");
    vips_cache_set_max(0);
#endif
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == u"--memory")
        return printMemory(arguments.value(2), {arguments.value(3), arguments.value(4), kPage});
    Bench bench(arguments.mid(1));
    runAll(bench);
    return 0;
}
