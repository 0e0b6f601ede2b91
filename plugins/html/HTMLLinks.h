#pragma once

#include <QString>
#include <QStringView>

#include <functional>

/// Finding addresses in HTML that people have written.
namespace HTMLLinks {

/// Address in place of the one given, which has its character references resolved; nil keeps what is there.
using Resolver = std::function<QString(const QString &address)>;

/// The text with the values of `href` and `src` that the resolver answers for replaced, in quotation marks
/// and escaped. Everything else stays as it is to the letter. Comments and the insides of scripts and styles
/// are passed over. Linear.
[[nodiscard]] QString resolved(const QString &HTML, const Resolver &resolver);

/// What stands between the tags `<name …>` and `</name>`, from the first one to the last; nil when there is
/// no such element. For "head" and "body".
[[nodiscard]] QString insideOfElement(const QString &HTML, const QString &name);

} // namespace HTMLLinks
