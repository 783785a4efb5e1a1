#pragma once

#include "core/foundation/PLColor.h"

#include <QSharedDataPointer>
#include <QString>

#include <optional>
#include <variant>

// A font as the editor settings name it: a family and a size in points.
struct PLFont
{
    QString family;
    double pointSize = 0;

    friend bool operator==(const PLFont &, const PLFont &) = default;
};

// The character attributes the highlighter paints and the text views draw.
enum class PLTextAttributeName { ForegroundColor, BackgroundColor, Font, Link };

// Colours go with the two colour names, a PLFont with Font and the URL text with Link.
using PLTextAttributeValue = std::variant<PLColor, PLFont, QString>;

class PLTextAttributesData;

// The attributes of one character: each of the four is present or absent. Copies share their data,
// so the many runs of a long text that carry the same attributes cost one pointer each.
class PLTextAttributes
{
public:
    PLTextAttributes();
    PLTextAttributes(const PLTextAttributes &other);
    PLTextAttributes &operator=(const PLTextAttributes &other);
    ~PLTextAttributes();

    // A value of the wrong kind for the name reads back as absent from the typed accessors below.
    void setValue(PLTextAttributeName name, const PLTextAttributeValue &value);
    void removeValue(PLTextAttributeName name);

    std::optional<PLColor> foregroundColor() const;
    std::optional<PLColor> backgroundColor() const;
    std::optional<PLFont> font() const;
    std::optional<QString> link() const;

    bool isEmpty() const;

    // Runs of a coloured text mostly share their data, so the shared case is answered inline.
    friend bool operator==(const PLTextAttributes &a, const PLTextAttributes &b)
    {
        return a.d == b.d || equalValues(a, b);
    }

private:
    static bool equalValues(const PLTextAttributes &a, const PLTextAttributes &b);
    template<class T>
    std::optional<T> typedValue(PLTextAttributeName name) const;

    // Null while no attribute is set.
    QSharedDataPointer<PLTextAttributesData> d;
};
