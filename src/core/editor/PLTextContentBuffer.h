#pragma once

#include "core/foundation/PLRange.h"
#include "core/editor/PLGapBuffer.h"
#include "core/editor/PLTextStorage.h"
#include "core/editor/PLUndoManager.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class PLFile;
class PLSyntaxHighlighter;
class PLTextContentBufferEditObserver;

// The text of one project file, shared by every pane that shows it, and the only place where that
// text changes. Each replacement runs the typing filters, records one undo step, hands the edit to
// the edit observer (the file's outline) and ends with didProcessEditing, which the colouring and
// then the views follow. The file is only its owner here: the buffer never looks into it.
class PLTextContentBuffer : public PLTextStorage
{
    Q_OBJECT

public:
    // A name ending in ".bib" (in any case) gets the bibliography colouring.
    PLTextContentBuffer(const QString &name, const std::shared_ptr<PLFile> &file, const QString &content, QObject *parent = nullptr);
    ~PLTextContentBuffer() override;

    // The one edit operation: a typed string is rewritten by the pairing, smart-quote and auto-indent
    // filters first; undo and redo replay their steps through here without the filters. A range
    // outside the text is refused.
    void replaceCharactersInRange(PLRange range, const QString &string);
    // Replaces the whole text as it stands, as read from disk: no filters and no undo step.
    void setString(const QString &string);
    // The whole text, put together on the first request after an edit and kept until the next:
    // for saving, parsing and searching, not for each keystroke.
    const QString &string() const override;
    qsizetype length() const override { return m_content.size(); }
    QChar characterAt(qsizetype index) const { return m_content.at(index); }
    // The characters as they are kept, for reading piece by piece.
    const PLGapBuffer &characters() const { return m_content; }
    QString substring(PLRange range) const override { return m_content.mid(range.location, range.length); }
    PLRange lineRangeForRange(PLRange range) const override
    {
        const auto bounds = PLStringLineCalculations::lineBoundsIn(m_content, range);
        return PLRange{bounds.start, bounds.end - bounds.start};
    }
    // Lines numbered from 0, as PLLineIndices numbers them.
    qsizetype lineCount() const { return m_content.lineCount(); }
    qsizetype lineStart(qsizetype line) const { return m_content.lineStart(line); }
    qsizetype lineForLocation(qsizetype location) const { return m_content.lineForLocation(location); }

    // One history per file, shared by every pane that shows it.
    PLUndoManager *undoManager() const { return m_undoManager; }

    // While off, the edit observer leaves the outline and the engine choice alone.
    bool updateOutlineWhenReplacingCharacters() const { return m_updateOutlineWhenReplacingCharacters; }
    void setUpdateOutlineWhenReplacingCharacters(bool update) { m_updateOutlineWhenReplacingCharacters = update; }

    PLTextContentBufferEditObserver *editObserver() const { return m_editObserver.get(); }
    void setEditObserver(std::unique_ptr<PLTextContentBufferEditObserver> observer);

    std::shared_ptr<PLFile> file() const { return m_file.lock(); }
    const QString &name() const { return m_name; }
    // Never assigned: a buffer knows its file, not a path of its own.
    QString path() const { return QString(); }
    QString directoryPath() const { return QString(); }
    const QStringList &arrayWithBrakePoints() const { return m_arrayWithBrakePoints; }
    // Colours the lines of every edit, with the bibliography rules for a ".bib" file.
    PLSyntaxHighlighter *syntaxHighlighter() const { return m_syntaxHighlighter.get(); }

    // The typing filters, each given the previous one's result and the replaced range.
    static QString closeParanthesesAndQuotes(const QString &string, PLRange range);
    static QString smartQuote(const QString &string, PLRange range);
    QString autoIndentStringIfNecessary(const QString &string, PLRange range) const;

protected:
    void fixAttributes() override;

private:
    friend class PLTextReplacementCommand;
    void replay(PLRange range, const QString &string);
    void applyReplacement(PLRange range, const QString &string);

    PLGapBuffer m_content;
    mutable QString m_string;
    mutable bool m_stringIsCurrent = false;
    std::weak_ptr<PLFile> m_file;
    QString m_name;
    std::unique_ptr<PLTextContentBufferEditObserver> m_editObserver;
    PLUndoManager *m_undoManager;
    QStringList m_arrayWithBrakePoints;
    bool m_updateOutlineWhenReplacingCharacters = true;
    bool m_replaying = false;
    // Last, so it goes first: it is attached to this buffer.
    std::unique_ptr<PLSyntaxHighlighter> m_syntaxHighlighter;
};
