#pragma once

#include "core/foundation/PLColor.h"

#include <optional>

class PLColorWell;

// Told of every colour a colour well is given: picked by the user, or read from the settings
// when the well is bound to its key.
class PLColorWellDelegate
{
public:
    virtual ~PLColorWellDelegate() = default;
    virtual void colorWellDidChangeColor(PLColorWell *colorWell, const std::optional<PLColor> &color) = 0;
};
