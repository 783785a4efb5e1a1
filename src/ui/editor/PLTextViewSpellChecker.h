#pragma once

#include "core/foundation/PLRange.h"

#include <QList>
#include <QObject>
#include <QTimer>

class PLTextView;

// The marks a word can get from spell checking.
enum PLSpellingState : int { PLSpellingStateNone = 0, PLSpellingStateSpelling = 1 };

// Continuous spell checking of one text view. Only lines in view are ever checked, each once until
// it changes: an edit marks the lines it touched, scrolling brings new lines in, and the checks
// run after the event that caused them, so a key press never waits for them. The view's delegate
// decides which misspelt words get a mark (textViewShouldSetSpellingState); the word being typed
// at the caret gets none until the caret leaves it.
class PLTextViewSpellChecker : public QObject
{
    Q_OBJECT

public:
    explicit PLTextViewSpellChecker(PLTextView *view);
    ~PLTextViewSpellChecker() override;

    // The words marked in view, in the file's text.
    QList<PLRange> markedRanges() const;
    // Checks the lines in view that need it and marks their words now.
    void checkVisibleText();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void textDidChange(int position, int charsRemoved, int charsAdded);
    void scheduleCheck();
    void showMarks();

    PLTextView *m_view;
    QTimer m_checkTimer;
    // Where the last edit of the mirror ended: the word there is still being typed.
    int m_lastEditEnd = -1;
};
