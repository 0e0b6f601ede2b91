#include "plugin/QFPluginProtocol.h"

QFPluginProtocol::~QFPluginProtocol() = default;
