#pragma once

#include "core/foundation/PLRange.h"

#include <QObject>
#include <QString>

#include <memory>

class PLFile;
class PLSplitViewContentViewController;
class PLTextView;
class PLTextViewHistoryHandler;

// The editing policy of one pane's text view: where the caret goes after a typed bracket or quote,
// which misspelt words are marked, what the navigation history records, and the tooltip over an
// include argument. The pane makes one for each file it shows.
class PLTextViewDelegate : public QObject
{
    Q_OBJECT

public:
    PLTextViewDelegate(const std::shared_ptr<PLFile> &file, PLSplitViewContentViewController *splitViewContentViewController,
                       PLTextViewHistoryHandler *historyHandler, QObject *parent = nullptr);
    ~PLTextViewDelegate() override;

    const std::shared_ptr<PLFile> &file() const { return m_file; }
    PLSplitViewContentViewController *splitViewContentViewController() const { return m_splitViewContentViewController; }
    PLTextViewHistoryHandler *historyHandler() const { return m_historyHandler; }
    // Set from a typed opening bracket or quote until the next selection change.
    bool addedQuoteOrParantheses() const { return m_addedQuoteOrParantheses; }
    const QString &lastStringInserted() const { return m_lastStringInserted; }

    // Always allows the change; notes a typed double quote, "(", "[" or "{". A stricter policy
    // (a read-only pane) refuses by overriding it.
    virtual bool textViewShouldChangeTextInRange(PLTextView *textView, PLRange range, const QString &replacementString);
    // After a noted bracket or quote the caret goes one character back, inside the pair.
    PLRange textViewWillChangeSelection(PLTextView *textView, PLRange oldSelectedCharRange, PLRange newSelectedCharRange);
    // A word right after a backslash is a command name, never misspelt.
    int textViewShouldSetSpellingState(PLTextView *textView, int value, PLRange affectedCharRange);
    // Records the file's previous selection in the history, unless the pane is walking it.
    void textViewDidChangeSelection(PLTextView *textView);
    // A jump to the view's selection from elsewhere (the outline, a line number, quick open).
    void textViewDidJumpToSelection(PLTextView *textView);
    void textViewDidBecomeKey(PLTextView *textView);
    // The tooltip over a link (an include argument): "Jump to" the file of the include at the
    // selection; empty for none.
    QString textViewWillDisplayToolTip(PLTextView *textView, qsizetype characterIndex);
    // Links are not followed: the click places the caret as anywhere else.
    bool textViewClickedOnLink(PLTextView *textView, const QString &link, qsizetype characterIndex);

    // The history is walked with the pane's buttons; these key requests are accepted and dropped.
    void textViewDidRequestHistoryFileSwitch(PLTextView *, qint32) {}
    void textViewDidRequestHistoryRangeSwitch(PLTextView *, qint32) {}
    void textViewDidRequestTextViewSwitchInDirection(PLTextView *, qint32) {}

private:
    std::shared_ptr<PLFile> m_file;
    PLSplitViewContentViewController *m_splitViewContentViewController;
    PLTextViewHistoryHandler *m_historyHandler;
    bool m_addedQuoteOrParantheses = false;
    QString m_lastStringInserted;
};
