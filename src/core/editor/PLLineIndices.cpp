#include "core/editor/PLLineIndices.h"

#include "core/editor/PLGapBuffer.h"

#include "core/foundation/PLStringLineCalculations.h"

#include <algorithm>

void PLLineIndices::invalidate()
{
    m_valid = false;
    m_pending.reset();
    m_indices.clear();
}

void PLLineIndices::noteReplacement(PLRange editedRange, qsizetype changeInLength)
{
    if (!m_valid)
        return;
    const qsizetype location = editedRange.location;
    const qsizetype replacedEnd = location + editedRange.length - changeInLength;
    if (!m_pending) {
        m_pending = Pending{location, replacedEnd, editedRange.end()};
        return;
    }
    // Merge with the stretch noted before: what lies beyond it is only shifted.
    Pending &pending = *m_pending;
    if (replacedEnd > pending.newEnd) {
        pending.oldEnd += replacedEnd - pending.newEnd;
        pending.newEnd = replacedEnd;
    }
    pending.newEnd += changeInLength;
    pending.start = std::min(pending.start, location);
}

namespace {
template <typename Text>
bool isLineStartIn(const Text &text, qsizetype location)
{
    if (location == 0)
        return true;
    if (location < 0 || location > text.size())
        return false;
    const QChar before = text.at(location - 1);
    if (!PLStringLineCalculations::isLineTerminator(before))
        return false;
    return !(before == u'\r' && location < text.size() && text.at(location) == u'\n');
}
}

bool PLLineIndices::isLineStart(const QString &text, qsizetype location)
{
    return isLineStartIn(text, location);
}

const std::vector<qsizetype> &PLLineIndices::indicesForText(const QString &text)
{
    return indicesFor(text);
}

const std::vector<qsizetype> &PLLineIndices::indicesForText(const PLGapBuffer &text)
{
    return indicesFor(text);
}

template <typename Text>
const std::vector<qsizetype> &PLLineIndices::indicesFor(const Text &text)
{
    if (!m_valid)
        calculateLines(text);
    else if (m_pending)
        applyPending(text);
    return m_indices;
}

template <typename Text>
void PLLineIndices::calculateLines(const Text &text)
{
    m_indices.clear();
    m_indices.push_back(0);
    const qsizetype length = text.size();
    for (qsizetype p = 1; p <= length; ++p) {
        const QChar before = text.at(p - 1);
        if (!PLStringLineCalculations::isLineTerminator(before))
            continue;
        if (before == u'\r' && p < length && text.at(p) == u'\n')
            continue;
        m_indices.push_back(p);
    }
    m_valid = true;
    m_pending.reset();
}

template <typename Text>
void PLLineIndices::applyPending(const Text &text)
{
    const Pending pending = *m_pending;
    m_pending.reset();
    // A location is a line start by the characters on both sides of it, so only the locations
    // from the start of the edits to just past their end can have changed.
    const auto first = std::lower_bound(m_indices.begin(), m_indices.end(), pending.start);
    const auto last = std::upper_bound(first, m_indices.end(), pending.oldEnd);
    const qsizetype shift = pending.newEnd - pending.oldEnd;
    if (shift != 0) {
        for (auto it = last; it != m_indices.end(); ++it)
            *it += shift;
    }
    std::vector<qsizetype> rescanned;
    const qsizetype end = std::min(pending.newEnd, text.size());
    for (qsizetype p = pending.start; p <= end; ++p) {
        if (isLineStartIn(text, p))
            rescanned.push_back(p);
    }
    const auto position = m_indices.erase(first, last);
    m_indices.insert(position, rescanned.begin(), rescanned.end());
}

qsizetype PLLineIndices::lineNumberForCharacterIndex(const std::vector<qsizetype> &indices, qsizetype location)
{
    qsizetype lo = 0;
    qsizetype hi = qsizetype(indices.size());
    while (hi - lo >= 2) {
        const qsizetype mid = (lo + hi) / 2;
        if (indices[mid] > location)
            hi = mid;
        else if (indices[mid] == location)
            return mid;
        else
            lo = mid;
    }
    return lo;
}
