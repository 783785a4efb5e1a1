#pragma once

#include "core/foundation/PLColor.h"

#include <QColor>

// The colour to paint for a stored one: the core keeps colours as numbers, only the views paint.
inline QColor PLQColor(const PLColor &color)
{
    return QColor::fromRgbF(float(color.redComponent()), float(color.greenComponent()), float(color.blueComponent()),
                            float(color.alphaComponent()));
}
