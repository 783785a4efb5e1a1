#include "core/foundation/PLColor.h"

#include <QHash>
#include <QStringList>

#include <algorithm>
#include <cmath>

namespace {
const QString kPrefix = QStringLiteral("PLColor(");
const QString kRgb = QStringLiteral("calibratedRGB");
const QString kWhite = QStringLiteral("calibratedWhite");

int to8Bit(double component)
{
    return int(std::lround(std::clamp(component, 0.0, 1.0) * 255.0));
}
}

PLColor PLColor::rgb(double red, double green, double blue, double alpha)
{
    PLColor color;
    color.m_space = Space::CalibratedRGB;
    color.m_c[0] = red;
    color.m_c[1] = green;
    color.m_c[2] = blue;
    color.m_c[3] = alpha;
    return color;
}

PLColor PLColor::white(double whiteLevel, double alpha)
{
    PLColor color;
    color.m_space = Space::CalibratedWhite;
    color.m_c[0] = whiteLevel;
    color.m_c[1] = 0;
    color.m_c[2] = 0;
    color.m_c[3] = alpha;
    return color;
}

QString PLColor::hexName() const
{
    return QStringLiteral("#%1%2%3%4")
        .arg(to8Bit(redComponent()), 2, 16, QLatin1Char('0'))
        .arg(to8Bit(greenComponent()), 2, 16, QLatin1Char('0'))
        .arg(to8Bit(blueComponent()), 2, 16, QLatin1Char('0'))
        .arg(to8Bit(alphaComponent()), 2, 16, QLatin1Char('0'));
}

QString PLColor::archived() const
{
    // 17 significant digits are enough for every double to read back bit for bit.
    auto number = [](double v) { return QString::number(v, 'g', 17); };
    if (m_space == Space::CalibratedWhite)
        return kPrefix + kWhite + u' ' + number(m_c[0]) + u' ' + number(m_c[3]) + u')';
    return kPrefix + kRgb + u' ' + number(m_c[0]) + u' ' + number(m_c[1]) + u' ' + number(m_c[2]) + u' '
        + number(m_c[3]) + u')';
}

namespace {
std::optional<PLColor> parseArchived(const QString &text)
{
    if (!text.startsWith(kPrefix) || !text.endsWith(u')'))
        return std::nullopt;
    const QStringList parts = QStringView(text).mid(kPrefix.size(), text.size() - kPrefix.size() - 1)
                                  .toString()
                                  .split(u' ', Qt::SkipEmptyParts);
    if (parts.isEmpty())
        return std::nullopt;
    QList<double> values;
    for (qsizetype i = 1; i < parts.size(); ++i) {
        bool ok = false;
        const double v = parts[i].toDouble(&ok);
        if (!ok || !std::isfinite(v))
            return std::nullopt;
        values.append(v);
    }
    if (parts[0] == kRgb && values.size() == 4)
        return PLColor::rgb(values[0], values[1], values[2], values[3]);
    if (parts[0] == kWhite && values.size() == 2)
        return PLColor::white(values[0], values[1]);
    return std::nullopt;
}
}

std::optional<PLColor> PLColor::fromArchived(const QString &text)
{
    // The highlighter reads its colours again for every line it colours, and parsing is what
    // costs: each thread remembers what the stored texts it met stand for.
    thread_local QHash<QString, std::optional<PLColor>> parsed;
    if (const auto known = parsed.constFind(text); known != parsed.cend())
        return *known;
    if (parsed.size() >= 256)
        parsed.clear();
    const std::optional<PLColor> color = parseArchived(text);
    parsed.insert(text, color);
    return color;
}
