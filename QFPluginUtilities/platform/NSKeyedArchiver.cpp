#include "platform/NSKeyedArchiver.h"

#include "platform/Formatting.h"
#include "platform/NSArchivableClasses.h"
#include "platform/NSBinaryPropertyListWriter.h"
#include "platform/NSKeyedArchiveLayout.h"
#include "platform/NSPropertyListValue.h"
#include "platform/QFReport.h"
#include "platform/Values.h"
#include "platform/WithoutThrowing.h"

#include <QHash>

#include <utility>
#include <vector>

using namespace Qt::StringLiterals;
using Ref = NSBinaryPropertyListWriter::Ref;
using UID = quint64;

namespace {

/// The entries of an object while it is being encoded.
struct Frame
{
    std::vector<Ref> keys;
    std::vector<Ref> values;
    int sequence = 0;
};

/// Whether the value is stored as it is, without a class.
bool isPlain(NSPropertyListKind kind)
{
    using Kind = NSPropertyListKind;
    return kind == Kind::Bool || kind == Kind::Integer || kind == Kind::Unsigned || kind == Kind::Real ||
           kind == Kind::String || kind == Kind::Data;
}

void reportUnknownType(const QVariant &value)
{
    const QString type = QString::fromLatin1(value.typeName());
    reportLoss(u"archive"_s, formatted(u"A value of type %@ cannot be archived and is left out.", {type}));
}

} // namespace

struct NSKeyedArchiver::Private
{
    NSBinaryPropertyListWriter writer;
    std::vector<Ref> objects;    // by UID
    QHash<Ref, UID> plainValues; // equal values have equal references
    QHash<const void *, std::pair<UID, QVariant>>
        known; // holds the objects, so that no address is used again
    QHash<const NSArchivableClass *, Ref> classes;
    Frame top;
    Frame *frame = &top;
    int depth = 0;

    Private() { objects.push_back(writer.addString(NSKeyedArchiveLayout::null)); }

    void add(QStringView key, Ref value)
    {
        addStored(key.startsWith(u'$') ? writer.addString(NSKeyedArchiveLayout::storedKey(key))
                                       : writer.addString(key),
                  value);
    }

    void addStored(Ref key, Ref value)
    {
        frame->keys.push_back(key);
        frame->values.push_back(value);
    }

    void addReferences(const QList<UID> &uids, QStringView key)
    {
        std::vector<Ref> references;
        references.reserve(static_cast<size_t>(uids.size()));
        for (const UID uid : uids)
            references.push_back(writer.addUID(uid));
        add(key, writer.addArray(references));
    }

    UID addObject(Ref contents)
    {
        objects.push_back(contents);
        return objects.size() - 1;
    }

    UID plainValue(Ref contents)
    {
        const auto found = plainValues.constFind(contents);
        return found != plainValues.cend() ? *found : *plainValues.insert(contents, addObject(contents));
    }

    UID encode(const QVariant &value)
    {
        using Kind = NSPropertyListKind;
        switch (propertyListKind(value)) {
        case Kind::Bool:
            return plainValue(writer.addBool(value.toBool()));
        case Kind::Integer:
            return plainValue(writer.addInteger(value.toLongLong()));
        case Kind::Unsigned:
            return plainValue(writer.addUnsigned(value.toULongLong()));
        case Kind::Real:
            return plainValue(writer.addReal(value.toDouble()));
        case Kind::String:
            return plainValue(writer.addString(value.toString()));
        case Kind::Data:
            return plainValue(writer.addData(value.toByteArray()));
        default:
            return isNil(value) ? 0 : encodeWithClass(value);
        }
    }

    UID encodeWithClass(const QVariant &value)
    {
        const NSArchivableClass *found = NSArchivableClasses::classOfValue(value);
        if (!found) {
            reportUnknownType(value);
            return 0;
        }
        const auto encode = [&] { found->encode(value, *coder); };
        if (!found->identity)
            return encodePlainValue(*found, value, encode);

        const void *address = found->identity(value);
        if (const auto before = known.constFind(address); before != known.cend())
            return before->first;
        // The place is taken first: the object may lie inside itself.
        const UID uid = addObject(0);
        known.insert(address, {uid, value});
        const UID placed = encodeContents(*found, encode, [this, uid](Ref contents) {
            objects[uid] = contents;
            return uid;
        });
        if (placed == 0)
            known.remove(address); // nested too deeply here; nearer to the top it may be written
        return placed;
    }

    /// Copies of a variant share what they hold, unless it is small enough to lie inside each of them.
    /// Looking at the address first saves encoding the same font for every run of a text.
    template <typename Encode>
    UID encodePlainValue(const NSArchivableClass &archivableClass, const QVariant &value, Encode encode)
    {
        const auto place = [this](Ref contents) { return plainValue(contents); };
        const void *address = value.constData();
        const bool isInside = address >= &value && address < &value + 1;
        if (isInside)
            return encodeContents(archivableClass, encode, place);
        if (const auto before = known.constFind(address); before != known.cend())
            return before->first;
        const UID uid = encodeContents(archivableClass, encode, place);
        if (uid != 0)
            known.insert(address, {uid, value});
        return uid;
    }

    /// Encodes an object in a frame of its own and answers where `place` puts it.
    template <typename Encode, typename Place>
    UID encodeContents(const NSArchivableClass &archivableClass, Encode encode, Place place)
    {
        if (depth >= maximumDepth) {
            reportLoss(u"archive"_s, u"Values nested too deeply for an archive are left out."_s);
            return 0;
        }
        Frame contents;
        Frame *outer = std::exchange(frame, &contents);
        ++depth;
        // What a class writes may be foreign code; what it wrote before it threw is kept.
        (void)withoutThrowing([&] {
            encode();
            return true;
        });
        addStored(writer.addString(NSKeyedArchiveLayout::classKey), classReference(archivableClass));
        --depth;
        frame = outer;
        return place(writer.addDictionary(contents.keys, contents.values));
    }

    Ref classReference(const NSArchivableClass &archivableClass)
    {
        if (const auto found = classes.constFind(&archivableClass); found != classes.cend())
            return *found;
        std::vector<Ref> names{writer.addString(archivableClass.name)};
        for (const QString &superclass : archivableClass.superclasses)
            names.push_back(writer.addString(superclass));
        names.push_back(writer.addString(NSKeyedArchiveLayout::rootClass));
        std::vector<Ref> keys{writer.addString(NSKeyedArchiveLayout::classNameKey),
                              writer.addString(NSKeyedArchiveLayout::classesKey)};
        std::vector<Ref> values{names.front(), writer.addArray(names)};
        if (archivableClass.version != 0) {
            keys.push_back(writer.addString(NSKeyedArchiveLayout::versionKey));
            values.push_back(writer.addInteger(archivableClass.version));
        }
        const Ref reference = writer.addUID(addObject(writer.addDictionary(keys, values)));
        classes.insert(&archivableClass, reference);
        return reference;
    }

    NSKeyedArchiver *coder = nullptr;
};

NSKeyedArchiver::NSKeyedArchiver() : d(std::make_unique<Private>())
{
    d->coder = this;
}

NSKeyedArchiver::~NSKeyedArchiver() = default;

QByteArray NSKeyedArchiver::archivedDataWithRootObject(const QVariant &root)
{
    return withoutThrowing([&] {
        NSKeyedArchiver archiver;
        archiver.encodeObject(root, NSKeyedArchiveLayout::rootKey);
        return archiver.encodedData();
    });
}

void NSKeyedArchiver::encodeObject(const QVariant &object, QStringView key)
{
    d->add(key, d->writer.addUID(d->encode(object)));
}

void NSKeyedArchiver::encodeBool(bool value, QStringView key)
{
    d->add(key, d->writer.addBool(value));
}

void NSKeyedArchiver::encodeInt(qint64 value, QStringView key)
{
    d->add(key, d->writer.addInteger(value));
}

void NSKeyedArchiver::encodeDouble(double value, QStringView key)
{
    d->add(key, d->writer.addReal(value));
}

void NSKeyedArchiver::encodeBytes(const QByteArray &bytes, QStringView key)
{
    d->add(key, d->writer.addData(bytes));
}

void NSKeyedArchiver::encodeObjects(const QVariantList &objects, QStringView key)
{
    QList<UID> references;
    references.reserve(objects.size());
    for (const QVariant &object : objects) {
        if (const UID uid = d->encode(object))
            references.append(uid);
    }
    d->addReferences(references, key);
}

void NSKeyedArchiver::encodeObject(const QVariant &object)
{
    const Ref value = d->writer.addUID(d->encode(object));
    d->addStored(d->writer.addString(NSKeyedArchiveLayout::sequenceKey(d->frame->sequence++)), value);
}

quint64 NSKeyedArchiver::referenceTo(const QVariant &object)
{
    return d->encode(object);
}

void NSKeyedArchiver::encodeArrayOfReferences(const QList<quint64> &references, QStringView key)
{
    const NSArchivableClass *array = NSArchivableClasses::classOfValue(QVariantList());
    const auto encode = [&] { d->addReferences(references, NSKeyedArchiveLayout::elementsKey); };
    const auto place = [this](Ref contents) { return d->plainValue(contents); };
    d->add(key, d->writer.addUID(d->encodeContents(*array, encode, place)));
}

bool NSKeyedArchiver::canEncode(const QVariant &value)
{
    if (isNil(value))
        return false;
    if (isPlain(propertyListKind(value)) || NSArchivableClasses::classOfValue(value))
        return true;
    reportUnknownType(value);
    return false;
}

QByteArray NSKeyedArchiver::encodedData()
{
    NSBinaryPropertyListWriter &writer = d->writer;
    const std::vector<Ref> keys{writer.addString(NSKeyedArchiveLayout::versionEntry),
                                writer.addString(NSKeyedArchiveLayout::archiverEntry),
                                writer.addString(NSKeyedArchiveLayout::topEntry),
                                writer.addString(NSKeyedArchiveLayout::objectsEntry)};
    const std::vector<Ref> values{writer.addInteger(NSKeyedArchiveLayout::layoutVersion),
                                  writer.addString(NSKeyedArchiveLayout::archiverName),
                                  writer.addDictionary(d->top.keys, d->top.values),
                                  writer.addArray(d->objects)};
    return writer.data(writer.addDictionary(keys, values));
}
