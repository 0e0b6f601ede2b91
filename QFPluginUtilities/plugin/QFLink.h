#pragma once

#include "platform/QFExport.h"

#include <QMetaType>
#include <QString>

#include <memory>

class NSKeyedArchiver;
class NSKeyedUnarchiver;

/// The destination of a link run: an external address, a page of the same site (with a subpage and anchor),
/// or an asset file of the site. Edited in place by the link panel, held as a `QFLinkPtr`, equal by identity.
/// Strings are values here: changing a string after setting it never changes the link.
class QF_EXPORT QFLink
{
public:
    QFLink() = default;
    /// The target of a new link is "self" (not "_self"): the exporter treats that literal as the default.
    /// Archives without a target read back as nil instead.
    QFLink(const QString &HREF, bool internal)
        : _href(HREF), _target(QStringLiteral("self")), _internal(internal)
    {
    }

    /// External: the URL. Internal: the target page's unique ID. Asset: the asset's URL.
    [[nodiscard]] QString href() const { return _href; }
    void setHREF(const QString &href) { _href = href; }
    /// ID on the target page; nil for none. Stored and archived, never exported.
    [[nodiscard]] QString anchor() const { return _anchor; }
    void setAnchor(const QString &anchor) { _anchor = anchor; }
    /// Text shown for the link: the stored name, else the href, else "". Never nil; a stored "" stays "".
    [[nodiscard]] QString name() const;
    void setName(const QString &name) { _name = name; }
    [[nodiscard]] QString target() const { return _target; }
    void setTarget(const QString &target) { _target = target; }
    [[nodiscard]] QString title() const { return _title; }
    void setTitle(const QString &title) { _title = title; }
    [[nodiscard]] QString rel() const { return _rel; }
    void setRel(const QString &rel) { _rel = rel; }
    [[nodiscard]] bool internal() const { return _internal; }
    void setInternal(bool internal) { _internal = internal; }
    /// 0: no asset; 1: an asset file; anything else exports without an address.
    [[nodiscard]] qint64 asset() const { return _asset; }
    void setAsset(qint64 asset) { _asset = asset; }
    /// ID of a subpage of the target page; nil for none.
    [[nodiscard]] QString subpageID() const { return _subpageID; }
    void setSubpageID(const QString &subpageID) { _subpageID = subpageID; }

    /// The stored name, which unlike `name` may be nil.
    [[nodiscard]] QString storedName() const { return _name; }

    /// Writes "href", "anchor", "name", "target", "title", "rel", "internal", "asset", "subpageID", in this
    /// order; a nil is written as the archive's null.
    void encodeWithCoder(NSKeyedArchiver &coder) const;
    /// Missing keys and values of wrong types read as nil, false or 0.
    [[nodiscard]] static std::shared_ptr<QFLink> initWithCoder(NSKeyedUnarchiver &coder);

private:
    QString _href;
    QString _anchor;
    QString _name;
    QString _target;
    QString _title;
    QString _rel;
    bool _internal = false;
    qint64 _asset = 0;
    QString _subpageID;
};

using QFLinkPtr = std::shared_ptr<QFLink>;

Q_DECLARE_METATYPE(QFLinkPtr)
