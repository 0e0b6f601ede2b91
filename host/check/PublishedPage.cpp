#include "host/check/PublishedPage.h"

#include "host/HTMLTokenizer.h"
#include "host/TextFile.h"

#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// Attributes that hold one address.
constexpr std::array<std::pair<QStringView, QStringView>, 15> kAddresses{{{u"a", u"href"},
                                                                          {u"area", u"href"},
                                                                          {u"audio", u"src"},
                                                                          {u"embed", u"src"},
                                                                          {u"form", u"action"},
                                                                          {u"iframe", u"src"},
                                                                          {u"img", u"src"},
                                                                          {u"input", u"src"},
                                                                          {u"link", u"href"},
                                                                          {u"object", u"data"},
                                                                          {u"script", u"src"},
                                                                          {u"source", u"src"},
                                                                          {u"track", u"src"},
                                                                          {u"video", u"src"},
                                                                          {u"video", u"poster"}}};

/// Addresses of "a.jpg 1x, b.jpg 2x".
QStringList addressesOfSet(const QString &set)
{
    QStringList addresses;
    if (set.contains(u"data:"))
        return {}; // whose commas are not those of the list
    const QStringList candidates = set.split(u',', Qt::SkipEmptyParts);
    for (const QString &candidate : candidates)
        addresses.append(candidate.trimmed().section(u' ', 0, 0));
    return addresses;
}

void readTag(const HTMLTokenizer &tag, PublishedPage &page)
{
    for (const auto &[element, attribute] : kAddresses) {
        if (tag.name() != element)
            continue;
        if (const QString address = tag.attribute(attribute); !address.isNull())
            page.references.append({tag.name(), address.trimmed()});
    }
    const QStringList set = addressesOfSet(tag.attribute(u"srcset"));
    for (const QString &address : set)
        page.references.append({tag.name(), address});
    const QString id = tag.attribute(u"id");
    const QString name = tag.name() == u"a" ? tag.attribute(u"name") : QString();
    for (const QString &anchor : {id, name}) {
        if (!anchor.isEmpty())
            page.anchors.insert(anchor);
    }
    const bool isDecoration =
        tag.attribute(u"role") == u"presentation" || tag.attribute(u"aria-hidden") == u"true";
    if (tag.name() == u"img" && !isDecoration && tag.attribute(u"alt").trimmed().isEmpty())
        page.bareImages.append(tag.attribute(u"src"));
}

} // namespace

PublishedPage PublishedPage::read(const QString &path)
{
    PublishedPage page;
    const TextFile file = TextFile::read(path);
    page.error = file.error;
    HTMLTokenizer tokenizer(file.text);
    for (auto token = tokenizer.next(); token != HTMLTokenizer::Token::End; token = tokenizer.next()) {
        if (token == HTMLTokenizer::Token::StartTag)
            readTag(tokenizer, page);
    }
    return page;
}
