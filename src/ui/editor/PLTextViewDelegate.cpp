#include "ui/editor/PLTextViewDelegate.h"

#include "core/project/PLFile.h"
#include "core/foundation/PLLogging.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/latex/PLOutlineTreeHelper.h"
#include "ui/window/PLSplitViewContentViewController.h"
#include "core/editor/PLTextContentBuffer.h"
#include "ui/editor/PLTextView.h"
#include "core/project/PLTextViewHistoryHandler.h"
#include "ui/editor/PLTextViewSpellChecker.h"

PLTextViewDelegate::PLTextViewDelegate(const std::shared_ptr<PLFile> &file,
                                       PLSplitViewContentViewController *splitViewContentViewController,
                                       PLTextViewHistoryHandler *historyHandler, QObject *parent)
    : QObject(parent), m_file(file), m_splitViewContentViewController(splitViewContentViewController), m_historyHandler(historyHandler)
{
}

PLTextViewDelegate::~PLTextViewDelegate() = default;

bool PLTextViewDelegate::textViewShouldChangeTextInRange(PLTextView *, PLRange, const QString &replacementString)
{
    if (replacementString == u"\"" || replacementString == u"(" || replacementString == u"[" || replacementString == u"{") {
        m_addedQuoteOrParantheses = true;
        m_lastStringInserted = replacementString;
    }
    return true;
}

PLRange PLTextViewDelegate::textViewWillChangeSelection(PLTextView *, PLRange, PLRange newSelectedCharRange)
{
    if (!m_addedQuoteOrParantheses)
        return newSelectedCharRange;
    // The buffer closed the pair; the caret goes before its last character.
    m_addedQuoteOrParantheses = false;
    return PLRange{newSelectedCharRange.location - 1, 0};
}

int PLTextViewDelegate::textViewShouldSetSpellingState(PLTextView *textView, int value, PLRange affectedCharRange)
{
    if (value == PLSpellingStateSpelling && affectedCharRange.location > 0) {
        const PLTextContentBuffer *buffer = textView->contentBuffer();
        if (affectedCharRange.location <= buffer->length() && buffer->characterAt(affectedCharRange.location - 1) == u'\\')
            return PLSpellingStateNone;
    }
    return value;
}

void PLTextViewDelegate::textViewDidChangeSelection(PLTextView *textView)
{
    const PLRange selection = textView->selectedRange();
    const PLRange stored = m_file->selectedRange();
    if (selection != stored) {
        if (!(m_splitViewContentViewController && m_splitViewContentViewController->isNavigating()) && m_historyHandler) {
            qCDebug(lcUi) << "PUSH TO STACK";
            m_historyHandler->pushRangeToHistoryStack(stored);
        }
        m_file->setSelectedRange(selection);
    }
    textView->updateLineHighlightPosition();
}

void PLTextViewDelegate::textViewDidJumpToSelection(PLTextView *textView)
{
    // The place left is recorded as a caret move would record it; the place reached becomes the
    // current one, so that Back returns to where the jump started.
    textViewDidChangeSelection(textView);
    if (m_historyHandler && !(m_splitViewContentViewController && m_splitViewContentViewController->isNavigating()))
        m_historyHandler->pushRangeToHistoryStack(textView->selectedRange());
}

void PLTextViewDelegate::textViewDidBecomeKey(PLTextView *)
{
    PLNotificationCenter::defaultCenter().post(PLNotificationSplitViewDidBecomeKey, m_splitViewContentViewController);
}

QString PLTextViewDelegate::textViewWillDisplayToolTip(PLTextView *textView, qsizetype)
{
    // The file named is the one of the include at the selection, wherever the pointer rests.
    const PLRange selection = textView->selectedRange();
    const auto included = PLOutlineTreeHelper(m_file->outlineRootNode()).fileForIncludeNodeAtRange(selection.location, selection.length);
    return included ? tr("Jump to %1").arg(included->name()) : QString();
}

bool PLTextViewDelegate::textViewClickedOnLink(PLTextView *, const QString &, qsizetype)
{
    return false;
}
