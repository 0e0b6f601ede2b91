#pragma once

#include "codecs/HuffmanTable.h"

#include <QByteArray>
#include <QList>

#include <array>
#include <optional>

/// The structure of a JPEG file of one scan: baseline, without restarts.
struct JPEGScan
{
    struct Component
    {
        int id = 0;
        int across = 1; ///< blocks in each unit of the scan
        int down = 1;
        int quantiser = 0;
        int dcTable = 0;
        int acTable = 0;

        [[nodiscard]] int blocks() const { return across * down; }
    };

    int width = 0;
    int height = 0;
    int unitRows = 8; ///< pixels of a unit, down
    int unitsAcross = 0;
    int unitsDown = 0;
    QList<Component> components;
    /// Factors of the coefficients, in the order of the code.
    std::array<std::optional<std::array<quint16, 64>>, 4> quantisers;
    std::array<HuffmanTable, 4> dcTables;
    std::array<HuffmanTable, 4> acTables;
    qsizetype dataAt = 0; ///< where the coded pixels begin

    /// Nothing for files of other structures, and for broken ones.
    [[nodiscard]] static std::optional<JPEGScan> ofFile(const QByteArray &file);
};
