#pragma once

#include "core/foundation/PLRange.h"

#include <QString>

#include <optional>
#include <vector>

class PLGapBuffer;

// The first character of every line of a text, in order, for numbering lines: 0 first, then every
// location just past a line terminator, the end of the text included when the text ends with one
// (the empty line after a final terminator gets a number too). A CR LF pair is one terminator.
//
// Edits are noted as they happen and folded in when the list is next asked for: only the stretch
// the edits touched is scanned again, the lines after it are shifted, so typing in a long text
// costs little, and nothing at all until the list is needed.
class PLLineIndices
{
public:
    // Drops the list: the next request scans the whole text.
    void invalidate();
    bool isValid() const { return m_valid; }
    // Notes a replacement: the range the new text takes and the change in length.
    void noteReplacement(PLRange editedRange, qsizetype changeInLength);
    // The list for the text, which must be the text after every noted replacement.
    const std::vector<qsizetype> &indicesForText(const QString &text);
    const std::vector<qsizetype> &indicesForText(const PLGapBuffer &text);
    // Whether the next request has anything to compute.
    bool needsUpdate() const { return !m_valid || m_pending.has_value(); }

    // The index in the list of the line that holds the location: the last entry not after it.
    static qsizetype lineNumberForCharacterIndex(const std::vector<qsizetype> &indices, qsizetype location);
    // Whether a line starts at the location of the text.
    static bool isLineStart(const QString &text, qsizetype location);

private:
    // What the noted edits replaced, in the coordinates of the list and of the current text: the
    // stretch [start, oldEnd] of the list became [start, newEnd] of the text.
    struct Pending
    {
        qsizetype start;
        qsizetype oldEnd;
        qsizetype newEnd;
    };

    template <typename Text>
    const std::vector<qsizetype> &indicesFor(const Text &text);
    template <typename Text>
    void calculateLines(const Text &text);
    template <typename Text>
    void applyPending(const Text &text);

    std::vector<qsizetype> m_indices;
    std::optional<Pending> m_pending;
    bool m_valid = false;
};
