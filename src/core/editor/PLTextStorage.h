#pragma once

#include "core/foundation/PLRange.h"
#include "core/editor/PLTextAttributeRuns.h"
#include "core/foundation/PLStringLineCalculations.h"

#include <QObject>
#include <QString>

// Styled text: the characters a subclass keeps and the character attributes kept here beside them.
// The subclass owns the one place where its characters change and reports each change with edited();
// the storage then moves the attributes along and tells its listeners. Listeners connected first
// hear first: a text's highlighter connects when it is created, before any view.
class PLTextStorage : public QObject
{
    Q_OBJECT

public:
    explicit PLTextStorage(qsizetype initialLength = 0, QObject *parent = nullptr);

    virtual const QString &string() const = 0;
    // Parts of the text, for readers that need no more than that: a subclass that keeps its
    // characters in pieces answers them without putting the whole text together.
    virtual qsizetype length() const { return string().size(); }
    virtual QString substring(PLRange range) const { return string().mid(range.location, range.length); }
    // The whole lines that hold the range, terminators included.
    virtual PLRange lineRangeForRange(PLRange range) const
    {
        return PLStringLineCalculations::lineRangeForRange(string(), range);
    }

    PLTextAttributes attributesAtIndex(qsizetype index, PLRange *effectiveRange = nullptr) const;
    void enumerateAttributes(PLRange range, const std::function<void(const PLTextAttributes &, PLRange)> &block) const;
    qsizetype attributeRunCount() const { return m_runs.runCount(); }

    // Attribute edits; each one is reported with didEditAttributes, once per outermost editing group.
    void setAttributes(const PLTextAttributes &attributes, PLRange range);
    void addAttribute(PLTextAttributeName name, const PLTextAttributeValue &value, PLRange range);
    void removeAttribute(PLTextAttributeName name, PLRange range);
    // Lays runs (length, attributes) over the text from location on, as one edit.
    void replaceAttributeRuns(qsizetype location, const std::vector<std::pair<qsizetype, PLTextAttributes>> &runs);
    // The attributes as they stand, without painting a text that still waits for its first colouring.
    const PLTextAttributeRuns &storedAttributeRuns() const { return m_runs; }

    // Whether attributes must be painted before anyone reads them (fixAttributes then runs once).
    bool needsAttributeFixing() const { return m_needsAttributeFixing; }
    void setNeedsAttributeFixing(bool needsFixing) { m_needsAttributeFixing = needsFixing; }

    // Groups attribute edits: the views hear of them once, over the union of their ranges, when the
    // outermost group ends.
    void beginEditing();
    void endEditing();

signals:
    // After a change of characters: editedRange is where the new text now lies, changeInLength the
    // difference between the new and the replaced length. Attributes painted by the receivers are
    // reported after every receiver has been told.
    void didProcessEditing(PLRange editedRange, qsizetype changeInLength);
    // Attributes changed over the range (characters are unchanged), so views can repaint it.
    void didEditAttributes(PLRange range);

protected:
    // The subclass replaced the characters of range with changeInLength more (or fewer) characters.
    void edited(PLRange range, qsizetype changeInLength);
    // Called before the first read of attributes while they need fixing: a text is coloured when
    // it is first shown rather than when its file is opened, so opening a large project stays fast.
    virtual void fixAttributes() {}

private:
    void attributesEdited(PLRange range);
    void ensureAttributesAreFixed() const;

    PLTextAttributeRuns m_runs;
    int m_editingDepth = 0;
    PLRange m_pendingAttributeEdit = PLNotFoundRange;
    mutable bool m_needsAttributeFixing = false;
};
