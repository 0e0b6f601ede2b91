#pragma once

#include "platform/NSColor.h"
#include "platform/QFExport.h"

#include <QVariantMap>

#include <optional>

/// Typed reading of a picture's media attributes. A view: the map must outlive it. Numbers are read by the
/// rules of `Values.h`, sizes and angles as 32-bit floats; what is absent reads as 0, false or nil unless
/// said otherwise, which differs on purpose from what a fresh attachment has. A value of the wrong kind under
/// a string's or colour's key reads as nil.
class QF_EXPORT QFTextAttachmentAttributes
{
public:
    explicit QFTextAttachmentAttributes(const QVariantMap &map) : _map(&map) {}

    [[nodiscard]] bool flipVertically() const;
    [[nodiscard]] bool flipHorizontally() const;
    /// The size follows the original size times `scale`; otherwise `width` and `height` set it.
    [[nodiscard]] bool lockRatios() const;
    [[nodiscard]] float width() const; ///< points, as are all sizes here
    [[nodiscard]] float originalWidth() const;
    [[nodiscard]] float height() const;
    [[nodiscard]] float originalHeight() const;
    /// The width, or the original width where that is 0.
    [[nodiscard]] float widthOrOriginalWidth() const;
    [[nodiscard]] float heightOrOriginalHeight() const;
    /// Crop to a centred square.
    [[nodiscard]] bool square() const;
    [[nodiscard]] float scale() const; ///< 1 when absent
    /// Degrees, clockwise on the page.
    [[nodiscard]] float rotation() const;
    /// A turned picture keeps its canvas and loses its corners.
    [[nodiscard]] bool clip() const;
    [[nodiscard]] QString altTag() const;
    [[nodiscard]] QString fileName() const;
    [[nodiscard]] std::optional<NSColor> fillColour() const;
    [[nodiscard]] qint32 mediaType() const;
    [[nodiscard]] bool enableShadow() const;
    [[nodiscard]] float shadowOffset() const; ///< to the right and down
    [[nodiscard]] float shadowBlur() const;
    [[nodiscard]] std::optional<NSColor> shadowColour() const;
    [[nodiscard]] bool enableBorder() const;
    /// The border's width. It stands under "bordersize"; a "borderoffset" means nothing.
    [[nodiscard]] float borderOffset() const;
    [[nodiscard]] float borderBlur() const; ///< kept, but drawn by nobody
    [[nodiscard]] std::optional<NSColor> borderColour() const;

    /// The size that the picture is shown in, before border, shadow and turning: the original size times
    /// scale, or the stored size with the original as its fallback. Products are those of 32-bit floats.
    [[nodiscard]] float shownWidth() const;
    [[nodiscard]] float shownHeight() const;

private:
    const QVariantMap *_map;
};

/// Stores true when the key is absent or does not read as true, else false.
QF_EXPORT void ToggleBooleanAttributeKey(QVariantMap &map, const QString &key);
/// Exchanges "width" and "height" when both are there.
QF_EXPORT void SwapWidthAndHeight(QVariantMap &map);
