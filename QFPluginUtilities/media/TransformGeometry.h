#pragma once

#include "platform/NSGeometry.h"
#include "platform/QFExport.h"

#include <QPoint>
#include <QRect>
#include <QVariantMap>

/// Sizes and places of a picture's transformation, apart from its pixels. Points; 32-bit floats; y grows
/// upwards. Numbers may be anything: nothing here fails on infinities or what is no number.
namespace TransformGeometry {

/// The attributes with the camera's "orientation" worked in, or as they are when there is none.
[[nodiscard]] QF_EXPORT QVariantMap orientedAttributes(const QVariantMap &attributes);

/// First canvas: the sized picture inside its border.
struct Base
{
    NSSize size;    ///< of the canvas
    float border;   ///< whole points; 0 for none
    NSRect drawing; ///< where the picture goes; integral
    NSRect canvas;  ///< the canvas made integral
};
/// `attributes` have been oriented.
[[nodiscard]] QF_EXPORT Base base(const QVariantMap &attributes, NSSize original);

/// Offset and blur of a shadow need room once, at the right and below. Negative offsets take room away.
[[nodiscard]] QF_EXPORT float shadowPadding(float offset, float blur);

/// Canvas of a picture turned clockwise by `degrees`; `clips` keeps the picture's own, made integral.
[[nodiscard]] QF_EXPORT NSSize turnedCanvas(NSSize size, float degrees, bool clips);

/// The raster's rows of a rectangle on a canvas whose raster has `rasterHeight` rows.
[[nodiscard]] QF_EXPORT QRect rasterRect(const NSRect &rect, int rasterHeight);

} // namespace TransformGeometry
