#pragma once

#include <QByteArray>

/// Whether files hold all of the bytes that their first picture takes. For formats whose reader takes what is
/// missing as black.
namespace PictureStructure {

[[nodiscard]] bool isGIFWhole(QByteArrayView file);
/// True for compressed pictures, whose length only their decoding tells.
[[nodiscard]] bool isBMPWhole(QByteArrayView file);

} // namespace PictureStructure
