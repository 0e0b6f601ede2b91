#include "codecs/ColourProfile.h"

#include <lcms2.h>

#include <algorithm>
#include <array>
#include <list>
#include <mutex>

namespace {

using From = ColourTransform::From;

constexpr qsizetype kLargestProfile = qsizetype(16) << 20;
constexpr size_t kKeptTransforms = 4;

constexpr cmsUInt32Number kPixels = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? TYPE_BGRA_8 : TYPE_ARGB_8;

cmsUInt32Number layoutOf(From from)
{
    switch (from) {
    case From::RGB:
        return kPixels;
    case From::Grey:
        return TYPE_GRAY_8;
    case From::CMYK:
        return TYPE_CMYK_8;
    case From::InvertedCMYK:
        return TYPE_CMYK_8_REV;
    }
    return kPixels;
}

cmsColorSpaceSignature spaceOf(From from)
{
    if (from == From::RGB)
        return cmsSigRgbData;
    return from == From::Grey ? cmsSigGrayData : cmsSigCmykData;
}

class Profile
{
public:
    explicit Profile(cmsHPROFILE handle) : _handle(handle) {}
    ~Profile()
    {
        if (_handle)
            cmsCloseProfile(_handle);
    }
    Profile(const Profile &) = delete;
    Profile &operator=(const Profile &) = delete;
    [[nodiscard]] cmsHPROFILE handle() const { return _handle; }

private:
    cmsHPROFILE _handle;
};

struct Kept
{
    QByteArray profile;
    From from = From::RGB;
    std::shared_ptr<const ColourTransform> transform;
};

} // namespace

std::shared_ptr<const ColourTransform> ColourTransform::toSRGB(const QByteArray &profile, From from)
{
    if (profile.isEmpty() || profile.size() > kLargestProfile)
        return nullptr;
    static std::mutex mutex;
    static std::list<Kept> kept;
    const auto isIt = [&](const Kept &each) { return each.from == from && each.profile == profile; };
    {
        const std::lock_guard lock(mutex);
        const auto found = std::find_if(kept.begin(), kept.end(), isIt);
        if (found != kept.end()) {
            kept.splice(kept.begin(), kept, found);
            return found->transform;
        }
    }
    auto transform = made(profile, from);
    const std::lock_guard lock(mutex);
    kept.push_front({profile, from, transform});
    if (kept.size() > kKeptTransforms)
        kept.pop_back();
    return transform;
}

std::shared_ptr<const ColourTransform> ColourTransform::made(const QByteArray &profile, From from)
{
    const Profile source(
        cmsOpenProfileFromMem(profile.constData(), static_cast<cmsUInt32Number>(profile.size())));
    if (!source.handle() || cmsGetColorSpace(source.handle()) != spaceOf(from))
        return nullptr;
    const Profile sRGB(cmsCreate_sRGBProfile());
    // Without its cache of one pixel a transform may be used on several threads at once.
    const cmsHTRANSFORM handle =
        cmsCreateTransform(source.handle(), layoutOf(from), sRGB.handle(), kPixels, INTENT_PERCEPTUAL,
                           cmsFLAGS_NOCACHE | (from == From::RGB ? cmsFLAGS_COPY_ALPHA : 0U));
    if (!handle)
        return nullptr;
    std::shared_ptr<const ColourTransform> transform(new ColourTransform(handle, from));
    return transform->changesColours() ? transform : nullptr;
}

ColourTransform::~ColourTransform()
{
    cmsDeleteTransform(_transform);
}

bool ColourTransform::changesColours() const
{
    if (_from != From::RGB && _from != From::Grey)
        return true;
    constexpr int kSteps = 9;
    constexpr int kStep = 255 / (kSteps - 1);
    for (int i = 0; i < kSteps * kSteps * kSteps; ++i) {
        const int red = i % kSteps * kStep;
        const bool isGrey = _from == From::Grey;
        const QRgb colour = qRgb(red, isGrey ? red : i / kSteps % kSteps * kStep,
                                 isGrey ? red : i / (kSteps * kSteps) * kStep);
        QRgb converted = colour;
        apply(&converted, 1);
        if (std::max({std::abs(qRed(colour) - qRed(converted)), std::abs(qGreen(colour) - qGreen(converted)),
                      std::abs(qBlue(colour) - qBlue(converted))}) > 1)
            return true;
    }
    return false;
}

void ColourTransform::apply(QRgb *pixels, int count) const
{
    if (_from == From::RGB) {
        cmsDoTransform(_transform, pixels, pixels, static_cast<cmsUInt32Number>(count));
        return;
    }
    constexpr int kAtOnce = 256;
    std::array<uchar, kAtOnce> grey;
    std::array<QRgb, kAtOnce> converted{};
    for (int begin = 0; begin < count; begin += kAtOnce) {
        const int length = std::min(kAtOnce, count - begin);
        std::transform(pixels + begin, pixels + begin + length, grey.begin(),
                       [](QRgb pixel) { return static_cast<uchar>(qBlue(pixel)); });
        cmsDoTransform(_transform, grey.data(), converted.data(), static_cast<cmsUInt32Number>(length));
        for (int i = 0; i < length; ++i)
            pixels[begin + i] = (pixels[begin + i] & 0xFF000000) | (converted[i] & 0x00FFFFFF);
    }
}

void ColourTransform::apply(QImage &image) const
{
    for (int y = 0; y < image.height(); ++y)
        apply(reinterpret_cast<QRgb *>(image.scanLine(y)), image.width());
}

void ColourTransform::applyToCMYK(const uchar *pixels, QRgb *result, int count) const
{
    cmsDoTransform(_transform, pixels, result, static_cast<cmsUInt32Number>(count));
    std::for_each(result, result + count, [](QRgb &pixel) { pixel |= 0xFF000000; });
}
