#pragma once

#include <QImage>

/// Makes a premultiplied picture that turns out to have no transparent pixel an opaque one, RGB32.
void dropNeedlessAlpha(QImage &image);
