#pragma once

#include <QString>

#include <optional>

// A colour as the settings keep it: four floating-point components that survive a round trip
// through the store exactly, tagged with the space they were given in (calibrated RGB or a
// calibrated white level, as the system white, black and light grey are).
class PLColor
{
public:
    enum class Space { CalibratedRGB, CalibratedWhite };

    PLColor() = default;
    static PLColor rgb(double red, double green, double blue, double alpha);
    static PLColor white(double whiteLevel, double alpha);

    Space space() const { return m_space; }
    double redComponent() const { return m_c[0]; }
    double greenComponent() const { return m_space == Space::CalibratedWhite ? m_c[0] : m_c[1]; }
    double blueComponent() const { return m_space == Space::CalibratedWhite ? m_c[0] : m_c[2]; }
    double whiteComponent() const { return m_c[0]; }
    double alphaComponent() const { return m_c[3]; }

    // "#rrggbbaa", each component rounded to 8 bits.
    QString hexName() const;

    // The stored form: "PLColor(<space> c1 c2 c3 a)" with every component written so that it
    // reads back to the identical double.
    QString archived() const;
    static std::optional<PLColor> fromArchived(const QString &text);

    friend bool operator==(const PLColor &, const PLColor &) = default;

private:
    Space m_space = Space::CalibratedRGB;
    double m_c[4] = {0, 0, 0, 1};
};
