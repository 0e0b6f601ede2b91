#pragma once

#include <QString>

/// The five predefined entities of XML in place of their characters. Two passes, one that counts and one that
/// writes into a result of exactly the right size; the text itself when there is nothing to replace.
[[nodiscard]] QString escapedForXML(const QString &text);
