#include "core/editor/PLGapBuffer.h"

#include "core/foundation/PLStringLineCalculations.h"

#include <algorithm>
#include <cstring>

namespace {
// Room left for typing after the gap had to grow: an eighth of the text, so growing stays rare.
qsizetype slackFor(qsizetype size)
{
    return std::max<qsizetype>(size / 8, 256);
}
}

PLGapBuffer::PLGapBuffer(QString text) : m_text(std::move(text)), m_gapStart(m_text.size()), m_gapEnd(m_text.size())
{
}

void PLGapBuffer::findLineStarts() const
{
    m_lineStarts.assign(1, 0);
    const QChar *const units = m_text.constData();
    // The characters in front of the gap, then those behind it, each at its place in the text.
    const auto scan = [&](qsizetype from, qsizetype to, qsizetype shift) {
        for (qsizetype i = from; i < to; ++i) {
            // Most characters lie between the terminators.
            if (units[i].unicode() > u'\r' && units[i].unicode() < 0x85)
                continue;
            if (isLineStart(i - shift + 1))
                m_lineStarts.push_back(i - shift + 1);
        }
    };
    scan(0, m_gapStart, 0);
    scan(m_gapEnd, m_text.size(), gapLength());
    m_lineGapStart = m_lineGapEnd = qsizetype(m_lineStarts.size());
    m_lineStartsKnown = true;
}

bool PLGapBuffer::isLineStart(qsizetype location) const
{
    if (location == 0)
        return true;
    const QChar before = at(location - 1);
    if (!PLStringLineCalculations::isLineTerminator(before))
        return false;
    return !(before == u'\r' && location < size() && at(location) == u'\n');
}

QString PLGapBuffer::mid(qsizetype location, qsizetype length) const
{
    location = std::clamp<qsizetype>(location, 0, size());
    length = std::clamp<qsizetype>(length, 0, size() - location);
    if (length == 0)
        return QString();
    QString result(length, Qt::Uninitialized);
    QChar *out = result.data();
    const qsizetype front = std::clamp<qsizetype>(m_gapStart - location, 0, length);
    std::memcpy(out, m_text.constData() + location, size_t(front) * sizeof(QChar));
    std::memcpy(out + front, m_text.constData() + location + front + gapLength(), size_t(length - front) * sizeof(QChar));
    return result;
}

QString PLGapBuffer::toString() const
{
    return gapLength() == 0 ? m_text : mid(0, size());
}

qsizetype PLGapBuffer::lineForLocation(qsizetype location) const
{
    qsizetype low = 0;
    qsizetype high = lineCount();
    // The first line starting after the location, less one.
    while (low < high) {
        const qsizetype middle = low + (high - low) / 2;
        if (lineStart(middle) <= location)
            low = middle + 1;
        else
            high = middle;
    }
    return std::max<qsizetype>(low - 1, 0);
}

void PLGapBuffer::moveGap(qsizetype location, qsizetype needed)
{
    if (gapLength() < needed) {
        const qsizetype length = size();
        const qsizetype gap = needed + slackFor(length);
        QString grown(length + gap, Qt::Uninitialized);
        QChar *out = grown.data();
        const QChar *in = m_text.constData();
        // Before the location, then after it, each side read around the old gap.
        const auto copy = [&](qsizetype from, qsizetype to, qsizetype at) {
            const qsizetype front = std::clamp<qsizetype>(m_gapStart, from, to);
            std::memcpy(out + at, in + from, size_t(front - from) * sizeof(QChar));
            std::memcpy(out + at + front - from, in + front + gapLength(), size_t(to - front) * sizeof(QChar));
        };
        copy(0, location, 0);
        copy(location, length, location + gap);
        m_text = std::move(grown);
        m_gapStart = location;
        m_gapEnd = location + gap;
        return;
    }
    if (location == m_gapStart)
        return;
    QChar *text = m_text.data();
    if (location < m_gapStart) {
        const qsizetype moved = m_gapStart - location;
        std::memmove(text + m_gapEnd - moved, text + location, size_t(moved) * sizeof(QChar));
        m_gapStart -= moved;
        m_gapEnd -= moved;
    } else {
        const qsizetype moved = location - m_gapStart;
        std::memmove(text + m_gapStart, text + m_gapEnd, size_t(moved) * sizeof(QChar));
        m_gapStart += moved;
        m_gapEnd += moved;
    }
}

void PLGapBuffer::moveLineGap(qsizetype location)
{
    const qsizetype length = size();
    while (m_lineGapStart > 0 && m_lineStarts[size_t(m_lineGapStart - 1)] >= location) {
        --m_lineGapStart;
        --m_lineGapEnd;
        m_lineStarts[size_t(m_lineGapEnd)] = length - m_lineStarts[size_t(m_lineGapStart)];
    }
    while (m_lineGapEnd < qsizetype(m_lineStarts.size()) && length - m_lineStarts[size_t(m_lineGapEnd)] < location) {
        m_lineStarts[size_t(m_lineGapStart)] = length - m_lineStarts[size_t(m_lineGapEnd)];
        ++m_lineGapStart;
        ++m_lineGapEnd;
    }
}

void PLGapBuffer::replaceCharacters(qsizetype location, qsizetype length, QStringView string)
{
    moveGap(location, string.size() - length);
    m_gapEnd += length;
    if (!string.isEmpty())
        std::memcpy(m_text.data() + m_gapStart, string.data(), size_t(string.size()) * sizeof(QChar));
    m_gapStart += string.size();
}

void PLGapBuffer::replace(qsizetype location, qsizetype length, QStringView string)
{
    // Lines nobody asked about yet are found in the text as it stands when they are.
    if (!m_lineStartsKnown) {
        replaceCharacters(location, length, string);
        return;
    }
    // A line start depends on the characters on both sides of it, so the starts from the location
    // to the end of the replaced characters are found again in the new ones.
    moveLineGap(location);
    const qsizetype oldSize = size();
    while (m_lineGapEnd < qsizetype(m_lineStarts.size()) && oldSize - m_lineStarts[size_t(m_lineGapEnd)] <= location + length)
        ++m_lineGapEnd;

    replaceCharacters(location, length, string);

    const qsizetype last = std::min(location + string.size(), size());
    for (qsizetype p = location; p <= last; ++p) {
        if (!isLineStart(p))
            continue;
        if (m_lineGapStart == m_lineGapEnd) {
            const qsizetype slack = slackFor(lineCount());
            m_lineStarts.insert(m_lineStarts.begin() + m_lineGapStart, size_t(slack), 0);
            m_lineGapEnd += slack;
        }
        m_lineStarts[size_t(m_lineGapStart++)] = p;
    }
}
