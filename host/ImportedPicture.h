#pragma once

#include "platform/NSFileWrapper.h"

#include <QVariantMap>

#include <optional>

/// What becomes of a document's picture on its way into styled text.
namespace ImportedPicture {

struct Size
{
    std::optional<double> width;
    std::optional<double> height;
};

/// The file, or the same picture as a PNG or JPEG file when the exporter would only link to a file of its
/// kind (WebP, BMP). Files that hold no picture stay as they are.
[[nodiscard]] NSFileWrapperPtr exportable(const NSFileWrapperPtr &file);

/// Media attributes with the size that a document gives a picture, in points. One side alone keeps the
/// proportions, as in a browser. A picture that is shown smaller than it is, is scaled when it is exported; a
/// larger one is left to the browser.
[[nodiscard]] QVariantMap sized(QVariantMap mediaAttributes, const Size &size);

} // namespace ImportedPicture
