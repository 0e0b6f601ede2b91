#pragma once

#include <QByteArray>
#include <QStringView>

#include <memory>
#include <span>

/// Writes a binary property list object by object, each after those it refers to. Equal objects are stored
/// once and have one reference, so that equal structures are found by comparing references. Linear in what is
/// added.
class NSBinaryPropertyListWriter
{
public:
    using Ref = quint32;

    NSBinaryPropertyListWriter();
    ~NSBinaryPropertyListWriter();
    NSBinaryPropertyListWriter(const NSBinaryPropertyListWriter &) = delete;
    NSBinaryPropertyListWriter &operator=(const NSBinaryPropertyListWriter &) = delete;

    Ref addBool(bool value);
    Ref addInteger(qint64 value);
    Ref addUnsigned(quint64 value);
    Ref addReal(double value);
    Ref addDate(double secondsSince2001);
    Ref addString(QStringView text);
    Ref addData(QByteArrayView bytes);
    Ref addUID(quint64 value);
    Ref addArray(std::span<const Ref> elements);
    /// Entries keep their order.
    Ref addDictionary(std::span<const Ref> keys, std::span<const Ref> values);

    /// The whole list with this object at its top.
    [[nodiscard]] QByteArray data(Ref top) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
