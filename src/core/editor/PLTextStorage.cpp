#include "core/editor/PLTextStorage.h"

#include <algorithm>

PLTextStorage::PLTextStorage(qsizetype initialLength, QObject *parent) : QObject(parent), m_runs(initialLength)
{
}

void PLTextStorage::ensureAttributesAreFixed() const
{
    if (!m_needsAttributeFixing)
        return;
    m_needsAttributeFixing = false;
    const_cast<PLTextStorage *>(this)->fixAttributes();
}

PLTextAttributes PLTextStorage::attributesAtIndex(qsizetype index, PLRange *effectiveRange) const
{
    ensureAttributesAreFixed();
    return m_runs.attributesAtIndex(index, effectiveRange);
}

void PLTextStorage::enumerateAttributes(PLRange range,
                                        const std::function<void(const PLTextAttributes &, PLRange)> &block) const
{
    ensureAttributesAreFixed();
    m_runs.enumerateAttributes(range, block);
}

void PLTextStorage::setAttributes(const PLTextAttributes &attributes, PLRange range)
{
    m_runs.setAttributes(attributes, range);
    attributesEdited(range);
}

void PLTextStorage::addAttribute(PLTextAttributeName name, const PLTextAttributeValue &value, PLRange range)
{
    m_runs.addAttribute(name, value, range);
    attributesEdited(range);
}

void PLTextStorage::replaceAttributeRuns(qsizetype location,
                                         const std::vector<std::pair<qsizetype, PLTextAttributes>> &runs)
{
    qsizetype length = 0;
    for (const auto &run : runs)
        length += run.first;
    m_runs.replaceRuns(location, runs);
    attributesEdited(PLRange{location, length});
}

void PLTextStorage::removeAttribute(PLTextAttributeName name, PLRange range)
{
    m_runs.removeAttribute(name, range);
    attributesEdited(range);
}

void PLTextStorage::beginEditing()
{
    ++m_editingDepth;
}

void PLTextStorage::endEditing()
{
    if (m_editingDepth == 0 || --m_editingDepth > 0 || !m_pendingAttributeEdit.isFound())
        return;
    const PLRange range = m_pendingAttributeEdit;
    m_pendingAttributeEdit = PLNotFoundRange;
    emit didEditAttributes(range);
}

void PLTextStorage::attributesEdited(PLRange range)
{
    const qsizetype length = m_runs.length();
    const qsizetype start = std::clamp<qsizetype>(range.location, 0, length);
    const qsizetype end = std::clamp<qsizetype>(range.location + std::max<qsizetype>(range.length, 0), start, length);
    if (end == start)
        return;
    if (m_editingDepth == 0) {
        emit didEditAttributes(PLRange{start, end - start});
        return;
    }
    if (!m_pendingAttributeEdit.isFound()) {
        m_pendingAttributeEdit = PLRange{start, end - start};
        return;
    }
    const qsizetype unionStart = std::min(start, m_pendingAttributeEdit.location);
    const qsizetype unionEnd = std::max(end, m_pendingAttributeEdit.end());
    m_pendingAttributeEdit = PLRange{unionStart, unionEnd - unionStart};
}

void PLTextStorage::edited(PLRange range, qsizetype changeInLength)
{
    m_runs.replaceCharacters(range, range.length + changeInLength);
    // Attribute edits still waiting for the end of a group move with the text; one that overlaps the
    // replacement grows to cover the new characters.
    PLRange &pending = m_pendingAttributeEdit;
    if (pending.isFound() && pending.end() > range.location) {
        if (pending.location >= range.end()) {
            pending.location += changeInLength;
        } else {
            const qsizetype start = std::min(pending.location, range.location);
            const qsizetype end = std::max(pending.end(), range.end()) + changeInLength;
            pending = PLRange{start, std::min(end, m_runs.length()) - start};
        }
    }
    const PLRange editedRange{range.location, range.length + changeInLength};
    beginEditing();
    emit didProcessEditing(editedRange, changeInLength);
    endEditing();
}
