#pragma once

#include <QStringList>
#include <QTest>

#include <array>

/// A test's columns, and its rows as calls: `const Rows<QString, int> row({"text", "count"});` and then
/// `row("empty", u""_s, 0);`.
template <typename... Types>
class Rows
{
public:
    explicit Rows(const std::array<const char *, sizeof...(Types)> &columns)
    {
        std::size_t i = 0;
        (QTest::addColumn<Types>(columns.at(i++)), ...);
    }
    void operator()(const char *name, const Types &...values) const
    {
        (QTest::newRow(name) << ... << values);
    }
};

/// Columns of texts from a table with a row a line and bars between the fields, of which the
/// first is the row's name.
inline void addRows(std::initializer_list<const char *> columns, const QString &table)
{
    for (const char *column : columns)
        QTest::addColumn<QString>(column);
    for (const QString &line : table.split(u'\n', Qt::SkipEmptyParts)) {
        const QStringList fields = line.split(u'|');
        QTestData &row = QTest::newRow(qPrintable(fields.at(0).trimmed()));
        for (qsizetype i = 1; i <= qsizetype(columns.size()); ++i)
            row << (i < fields.size() ? fields.at(i).trimmed() : QStringLiteral(""));
    }
}
