#pragma once

#include "core/foundation/PLRange.h"

#include <QString>
#include <QStringView>

#include <vector>

// UTF-16 text with a gap at the last edit, and the start of every line kept the same way, so an
// edit costs the distance from the previous one and the length of the new text, never the length
// of the whole text. Lines are numbered as PLLineIndices numbers them: 0 first, then every location
// just past a terminator (LF, CR, CR LF as one, U+0085, U+2028, U+2029), the end of the text
// included when the text ends with one.
class PLGapBuffer
{
public:
    // Shares the text's characters until the first edit, so a file just read is held once.
    explicit PLGapBuffer(QString text = {});

    qsizetype size() const { return m_text.size() - gapLength(); }
    QChar at(qsizetype index) const
    {
        return m_text.constData()[index < m_gapStart ? index : index + gapLength()];
    }
    QChar operator[](qsizetype index) const { return at(index); }
    // The characters of a range, clipped to the text.
    QString mid(qsizetype location, qsizetype length) const;
    // Shares the characters when no gap is open in them.
    QString toString() const;

    // Replaces the characters of a range inside the text.
    void replace(qsizetype location, qsizetype length, QStringView string);

    qsizetype lineCount() const
    {
        knowLineStarts();
        return qsizetype(m_lineStarts.size()) - lineGapLength();
    }
    qsizetype lineStart(qsizetype line) const
    {
        knowLineStarts();
        return line < m_lineGapStart ? m_lineStarts[size_t(line)] : size() - m_lineStarts[size_t(line + lineGapLength())];
    }
    // The line that holds the location: the last one starting at or before it.
    qsizetype lineForLocation(qsizetype location) const;

private:
    qsizetype gapLength() const { return m_gapEnd - m_gapStart; }
    qsizetype lineGapLength() const { return m_lineGapEnd - m_lineGapStart; }
    bool isLineStart(qsizetype location) const;
    // The lines are found on the first question about them: opening a project reads every file
    // and is asked about the lines of few.
    void knowLineStarts() const
    {
        if (!m_lineStartsKnown)
            findLineStarts();
    }
    void findLineStarts() const;
    void replaceCharacters(qsizetype location, qsizetype length, QStringView string);
    void moveGap(qsizetype location, qsizetype needed);
    // Puts the line gap where the lines starting before the location end.
    void moveLineGap(qsizetype location);

    // The characters with the gap in them.
    QString m_text;
    qsizetype m_gapStart = 0;
    qsizetype m_gapEnd = 0;
    // Starts in front of the line gap are locations; those behind it are distances from the end
    // of the text, so an edit in front of them leaves them as they are.
    mutable std::vector<qsizetype> m_lineStarts;
    mutable qsizetype m_lineGapStart = 0;
    mutable qsizetype m_lineGapEnd = 0;
    mutable bool m_lineStartsKnown = false;
};
