#include "ui/editor/PLLineEndingMap.h"

#include "core/editor/PLGapBuffer.h"

#include <algorithm>

void PLLineEndingMap::reset(const QString &text)
{
    m_pairs.clear();
    for (qsizetype location = text.indexOf(u'\r'); location >= 0; location = text.indexOf(u'\r', location + 1)) {
        if (isPairAt(text, location))
            m_pairs.push_back(location);
    }
}

void PLLineEndingMap::update(const QString &text, qsizetype location, qsizetype oldLength, qsizetype newLength)
{
    updateFor(text, location, oldLength, newLength);
}

void PLLineEndingMap::update(const PLGapBuffer &text, qsizetype location, qsizetype oldLength, qsizetype newLength)
{
    updateFor(text, location, oldLength, newLength);
}

template <typename Text>
void PLLineEndingMap::updateFor(const Text &text, qsizetype location, qsizetype oldLength, qsizetype newLength)
{
    // A pair whose CR sits just before the edit may have lost its LF; one inside it is gone.
    const auto first = std::lower_bound(m_pairs.begin(), m_pairs.end(), location - 1);
    const auto last = std::lower_bound(first, m_pairs.end(), location + oldLength);
    const qsizetype delta = newLength - oldLength;
    for (auto shifted = last; shifted != m_pairs.end(); ++shifted)
        *shifted += delta;
    std::vector<qsizetype> found;
    for (qsizetype candidate = std::max<qsizetype>(0, location - 1); candidate < location + newLength; ++candidate) {
        if (isPairAt(text, candidate))
            found.push_back(candidate);
    }
    const auto erased = m_pairs.erase(first, last);
    m_pairs.insert(erased, found.begin(), found.end());
}

qsizetype PLLineEndingMap::toMirror(qsizetype location) const
{
    // Pairs whose LF lies before the position each took one character out of the mirror.
    const auto before = std::lower_bound(m_pairs.begin(), m_pairs.end(), location - 1);
    return location - (before - m_pairs.begin());
}

qsizetype PLLineEndingMap::toText(qsizetype mirrorPosition) const
{
    // In the mirror, pair i starts at its CR position less i; count those before the position.
    qsizetype low = 0;
    qsizetype high = qsizetype(m_pairs.size());
    while (low < high) {
        const qsizetype middle = (low + high) / 2;
        if (m_pairs[middle] - middle < mirrorPosition)
            low = middle + 1;
        else
            high = middle;
    }
    return mirrorPosition + low;
}

bool PLLineEndingMap::hasPairAt(qsizetype location) const
{
    return std::binary_search(m_pairs.begin(), m_pairs.end(), location);
}

QString PLLineEndingMap::mirrorString(const QString &text)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype index = 0; index < text.size(); ++index) {
        const QChar character = text.at(index);
        if (character == u'\r' && index + 1 < text.size() && text.at(index + 1) == u'\n') {
            result += QChar::ParagraphSeparator;
            ++index;
        } else if (character == u'\r' || character == u'\n') {
            result += QChar::ParagraphSeparator;
        } else {
            result += character;
        }
    }
    return result;
}
