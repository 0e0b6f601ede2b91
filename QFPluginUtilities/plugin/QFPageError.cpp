#include "plugin/QFPageError.h"

QFPageError::~QFPageError() = default;

int QFPageError::level() const
{
    return 0;
}

QString QFPageError::reason() const
{
    return {};
}
