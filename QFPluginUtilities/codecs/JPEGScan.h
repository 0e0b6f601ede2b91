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
        int blocks = 1; ///< in each unit of the scan
        int dcTable = 0;
        int acTable = 0;
    };

    int width = 0;
    int height = 0;
    qsizetype heightAt = 0; ///< where the file tells it
    int unitRows = 8;       ///< pixels of a unit, down
    int unitsAcross = 0;
    int unitsDown = 0;
    QList<Component> components;
    std::array<HuffmanTable, 4> dcTables;
    std::array<HuffmanTable, 4> acTables;
    qsizetype dataAt = 0; ///< where the coded pixels begin

    /// Nothing for files of other structures, and for broken ones.
    [[nodiscard]] static std::optional<JPEGScan> ofFile(const QByteArray &file);
};
