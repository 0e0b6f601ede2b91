#pragma once

#include "imaging/RowReader.h"

#include <QRectF>

/// Decodes the rows that a part of a picture needs, reduced or not.
class PartReader : public RowReader
{
public:
    /// Whether there is anything to be read.
    [[nodiscard]] virtual bool isValid() const = 0;
    /// The part in the coordinates of the rows.
    [[nodiscard]] virtual QRectF part() const = 0;
};
