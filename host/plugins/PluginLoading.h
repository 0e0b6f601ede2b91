#pragma once

#include <QString>

class QFPluginClass;

/// The module's root object, loaded and initialised; nullptr when that fails or throws: then `fault` is half
/// a sentence that says what happened, "it ...". The module stays loaded either way, since code that is
/// unloaded may be called once more when the program ends.
[[nodiscard]] QFPluginClass *loadPluginClass(const QString &file, QString &fault);

/// Makes an instance and destroys it again; what went wrong as above, or nil.
[[nodiscard]] QString faultOfInstance(QFPluginClass &pluginClass);
