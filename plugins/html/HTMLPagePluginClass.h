#pragma once

#include "plugins/common/SamplePageClass.h"
#include "plugins/html/HTMLPagePlugin.h"

/// Pages that are written in HTML.
class HTMLPagePluginClass final : public SamplePageClass<HTMLPagePlugin>
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QFPluginClass_iid FILE "QFPagePlugin.json")

public:
    HTMLPagePluginClass()
        : SamplePageClass(QStringLiteral("HTML Page"), QStringLiteral("A page that is written in HTML."))
    {
    }
};
