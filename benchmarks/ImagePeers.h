#pragma once

#include "Contest.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSize>
#include <QStringList>

#include <optional>

#ifdef QF_HAS_VIPS
#include <vips/vips.h>
#endif

/// Lengths in pixels, chosen by the picture's width so that all sizes look alike; the frame is black, the
/// shadow half as dark, the ground white.
struct Effects
{
    explicit Effects(int width) : border(width / 160), offset(width / 133), blur(width / 160) {}

    int border;
    int offset;
    int blur;
    int degrees = 7;
};

/// A picture to be made from a file, at a size, with or without effects: for all who do it.
struct PictureJob
{
    static constexpr int kQuality = 75;

    QString source;
    QString target; ///< its suffix is "jpg", "png" or "gif"
    QSize size;     ///< of the picture, without what effects add
    std::optional<Effects> effects = std::nullopt;

    [[nodiscard]] QString format() const { return target.right(3); }
    [[nodiscard]] PictureJob by(const QString &who) const
    {
        PictureJob job = *this;
        job.target.insert(target.size() - 4, u'-' + who);
        return job;
    }
};

/// sharp, in a process of Node.js that measures itself.
class SharpPeer
{
public:
    SharpPeer()
    {
        const QString modules = foundModules();
        if (modules.isEmpty())
            return;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("NODE_PATH"), modules);
        _process.setProcessEnvironment(environment);
        _process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        _process.start(QStringLiteral("node"), {QStringLiteral(QF_PEERS "/sharp.js")});
        _process.waitForStarted();
    }
    ~SharpPeer()
    {
        _process.closeWriteChannel();
        _process.waitForFinished();
    }
    SharpPeer(const SharpPeer &) = delete;
    SharpPeer &operator=(const SharpPeer &) = delete;

    [[nodiscard]] bool isThere() const { return _process.state() == QProcess::Running; }

    Timing run(const QList<PictureJob> &jobs, int together = 1)
    {
        QJsonArray list;
        for (const PictureJob &job : jobs)
            list.append(json(job));
        const QJsonObject reply =
            answer({{QStringLiteral("jobs"), list}, {QStringLiteral("together"), together}});
        return {reply[QLatin1String("wall")].toDouble(), reply[QLatin1String("user")].toDouble()};
    }

    double megabytes(const PictureJob &job)
    {
        return answer({{QStringLiteral("memory"), json(job)}})[QLatin1String("kilobytes")].toDouble() / 1024;
    }

private:
    /// The folder that QF_NODE_MODULES names, or the one that script/bench fills.
    static QString foundModules()
    {
        const QStringList places{qEnvironmentVariable("QF_NODE_MODULES"),
                                 QCoreApplication::applicationDirPath() +
                                     QStringLiteral("/../../peers/node_modules")};
        for (const QString &place : places) {
            if (!place.isEmpty() && QDir(place + QStringLiteral("/sharp")).exists())
                return QDir(place).absolutePath();
        }
        return {};
    }

    static QJsonObject json(const PictureJob &job)
    {
        QJsonObject object{
            {QStringLiteral("source"), job.source},      {QStringLiteral("target"), job.target},
            {QStringLiteral("format"), job.format()},    {QStringLiteral("quality"), PictureJob::kQuality},
            {QStringLiteral("width"), job.size.width()}, {QStringLiteral("height"), job.size.height()}};
        if (job.effects)
            object.insert(QStringLiteral("effects"),
                          QJsonObject{{QStringLiteral("border"), job.effects->border},
                                      {QStringLiteral("offset"), job.effects->offset},
                                      {QStringLiteral("blur"), job.effects->blur},
                                      {QStringLiteral("degrees"), job.effects->degrees}});
        return object;
    }

    QJsonObject answer(const QJsonObject &request)
    {
        _process.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
        while (!_process.canReadLine())
            require(_process.waitForReadyRead(-1), "sharp answers");
        const QJsonObject reply = QJsonDocument::fromJson(_process.readLine()).object();
        const QByteArray error = reply[QLatin1String("error")].toString().toUtf8();
        require(error.isEmpty(), error.constData());
        return reply;
    }

    QProcess _process;
};

/// Programs that are started for each picture.
namespace ProgramPeers {

inline const QString kMagick = QStringLiteral("/usr/bin/convert-im6.q16");
inline const QString kGraphicsMagick = QStringLiteral("/usr/bin/gm");

inline Timing run(const QString &program, const QStringList &arguments)
{
    return timed([&] { require(QProcess::execute(program, arguments) == 0, "a peer's program"); },
                 RUSAGE_CHILDREN);
}

inline QString text(const QSize &size)
{
    return QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
}

/// Both programs let the JPEG decoder reduce a picture, to no less than twice the size.
inline Timing convert(const PictureJob &job)
{
    QStringList arguments{QStringLiteral("-define"), QStringLiteral("jpeg:size=") + text(job.size * 2),
                          job.source, QStringLiteral("-resize"), text(job.size) + u'!'};
    if (job.effects) {
        const Effects &effects = *job.effects;
        arguments += QStringLiteral("-bordercolor black -border %1 ( +clone -background black -shadow "
                                    "50x%2+%3+%3 ) +swap -background white -layers merge +repage "
                                    "-background white -rotate %4")
                         .arg(effects.border)
                         .arg(effects.blur / 3.0)
                         .arg(effects.offset)
                         .arg(effects.degrees)
                         .split(u' ');
    }
    arguments += {QStringLiteral("-quality"), QString::number(PictureJob::kQuality), job.target};
    if (job.format() != QLatin1String("jpg"))
        arguments.remove(arguments.size() - 3, 2);
    return run(kMagick, arguments);
}

inline Timing gm(const PictureJob &job)
{
    QStringList arguments{QStringLiteral("convert"), QStringLiteral("-size"), text(job.size * 2), job.source,
                          QStringLiteral("-resize"), text(job.size) + u'!'};
    if (job.format() == QLatin1String("jpg"))
        arguments += {QStringLiteral("-quality"), QString::number(PictureJob::kQuality)};
    return run(kGraphicsMagick, arguments + QStringList{job.target});
}

} // namespace ProgramPeers

#ifdef QF_HAS_VIPS

/// libvips in this process, on as many threads as it likes.
namespace VipsPeer {

inline void run(const PictureJob &job)
{
    VipsImage *image = nullptr;
    vips_thumbnail(job.source.toUtf8().constData(), &image, job.size.width(), "height", job.size.height(),
                   "size", VIPS_SIZE_FORCE, nullptr);
    const QByteArray target = job.target.toUtf8();
    if (job.format() == QLatin1String("jpg"))
        vips_jpegsave(image, target.constData(), "Q", PictureJob::kQuality, "strip", TRUE, nullptr);
    else
        vips_image_write_to_file(image, target.constData(), "strip", TRUE, nullptr);
    require(*vips_error_buffer() == 0, vips_error_buffer());
    g_object_unref(image);
}

} // namespace VipsPeer

#endif
