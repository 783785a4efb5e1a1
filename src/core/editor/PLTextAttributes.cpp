#include "core/editor/PLTextAttributes.h"

#include <array>

class PLTextAttributesData : public QSharedData
{
public:
    std::array<std::optional<PLTextAttributeValue>, 4> values;

    bool isEmpty() const
    {
        for (const auto &value : values) {
            if (value)
                return false;
        }
        return true;
    }
};

namespace {
size_t slot(PLTextAttributeName name)
{
    return size_t(name);
}
}

PLTextAttributes::PLTextAttributes() = default;
PLTextAttributes::PLTextAttributes(const PLTextAttributes &other) = default;
PLTextAttributes &PLTextAttributes::operator=(const PLTextAttributes &other) = default;
PLTextAttributes::~PLTextAttributes() = default;

void PLTextAttributes::setValue(PLTextAttributeName name, const PLTextAttributeValue &value)
{
    if (!d)
        d = new PLTextAttributesData;
    d->values[slot(name)] = value;
}

void PLTextAttributes::removeValue(PLTextAttributeName name)
{
    if (!d || !std::as_const(d)->values[slot(name)])
        return;
    d->values[slot(name)].reset();
    if (std::as_const(d)->isEmpty())
        d.reset();
}

template<class T>
std::optional<T> PLTextAttributes::typedValue(PLTextAttributeName name) const
{
    if (!d || !d->values[slot(name)])
        return std::nullopt;
    if (const T *typed = std::get_if<T>(&*d->values[slot(name)]))
        return *typed;
    return std::nullopt;
}

std::optional<PLColor> PLTextAttributes::foregroundColor() const
{
    return typedValue<PLColor>(PLTextAttributeName::ForegroundColor);
}

std::optional<PLColor> PLTextAttributes::backgroundColor() const
{
    return typedValue<PLColor>(PLTextAttributeName::BackgroundColor);
}

std::optional<PLFont> PLTextAttributes::font() const
{
    return typedValue<PLFont>(PLTextAttributeName::Font);
}

std::optional<QString> PLTextAttributes::link() const
{
    return typedValue<QString>(PLTextAttributeName::Link);
}

bool PLTextAttributes::isEmpty() const
{
    return !d;
}

bool PLTextAttributes::equalValues(const PLTextAttributes &a, const PLTextAttributes &b)
{
    if (!a.d || !b.d)
        return false;
    return a.d->values == b.d->values;
}
