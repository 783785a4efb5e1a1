#include "ui/window/PLSplitViewContentViewController.h"

#include "core/foundation/PLDictionaryKeys.h"
#include "core/document/PLDocument.h"
#include "ui/window/PLErrorReadingFileContentViewController.h"
#include "ui/editor/PLFindIndicator.h"
#include "core/project/PLFile.h"
#include "core/foundation/PLLogging.h"
#include "ui/app/PLMainMenu.h"
#include "ui/typesetting/PLNoPDFFoundView.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/latex/PLOutlineNode.h"
#include "ui/typesetting/PLPDFView.h"
#include "ui/window/PLResponderChain.h"
#include "ui/window/PLSplitViewController.h"
#include "ui/editor/PLLineNumbersRulerView.h"
#include "core/editor/PLTextContentBuffer.h"
#include "core/editor/PLTextSearch.h"
#include "ui/editor/PLTextView.h"
#include "ui/editor/PLTextViewDelegate.h"
#include "core/project/PLTextViewHistoryHandler.h"
#include "ui/window/PLTitleBarButton.h"
#include "ui/window/PLTitleBarView.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QStackedLayout>
#include <QVBoxLayout>

namespace {
// Alt and Shift held together turn the split button into "split and show the PDF".
bool wantsPDFInNewPane(Qt::KeyboardModifiers modifiers)
{
    return (modifiers & Qt::AltModifier) && (modifiers & Qt::ShiftModifier);
}
}

PLSplitViewContentViewController::PLSplitViewContentViewController(PLSplitViewController *splitViewController,
                                                                   PLDocument *document, XSWindowController *windowController)
    : XSViewController(QStringLiteral("PLSplitViewContentView"), windowController, splitViewController),
      m_splitViewController(splitViewController), m_document(document),
      m_historyHandler(std::make_unique<PLTextViewHistoryHandler>()),
      m_errorReadingFileContentViewController(new PLErrorReadingFileContentViewController(windowController, this))
{
    m_historyHandler->switchToFile(m_document->mainFile());
    m_errorReadingFileContentViewController->setDelegate(this);
    addChild(m_errorReadingFileContentViewController);
    observeNotifications();
    setActionHandler(PLAction::SplitView, [this](QAction *) { splitView(Qt::NoModifier); });
    setActionHandler(PLAction::SplitViewAndDisplayPDF, [this](QAction *) { splitView(Qt::AltModifier | Qt::ShiftModifier); });
    setActionHandler(
        PLAction::CloseView, [this](QAction *) { closeView(); },
        [this](QAction *) { return m_splitViewController && m_splitViewController->splitViewCount() > 1; });
    setActionHandler(PLAction::ToggleDocumentPDF, [this](QAction *) { toggleDocumentPDF(); });
    // Tag 0 runs from the text to the PDF, tag 1 back; each only in the focused pane showing
    // what it starts from.
    setActionHandler(
        PLAction::PerformTexSyncMenuAction, [this](QAction *item) { performTexSync(PLMainMenu::tagOfItem(item)); },
        [this](QAction *item) {
            const int tag = PLMainMenu::tagOfItem(item);
            int page = -1;
            QPointF point;
            return isFocusedPane() && (tag == 0 ? !m_isPdfToggled : m_isPdfToggled && m_pdfView->syncPoint(&page, &point));
        });
    setActionHandler(
        PLAction::NavigateBackward, [this](QAction *) { navigateBackward(); },
        [this](QAction *) { return !m_isPdfToggled && m_historyHandler->hasMoreRangesInDirection(PLHistoryDirectionBackwards); });
    setActionHandler(
        PLAction::NavigateForward, [this](QAction *) { navigateForward(); },
        [this](QAction *) { return !m_isPdfToggled && m_historyHandler->hasMoreRangesInDirection(PLHistoryDirectionForwards); });
}

PLSplitViewContentViewController::~PLSplitViewContentViewController()
{
    PLNotificationCenter::defaultCenter().removeObserver(this);
}

void PLSplitViewContentViewController::observeNotifications()
{
    PLNotificationCenter &center = PLNotificationCenter::defaultCenter();
    center.addObserver(this, PLSplitViewControllerDidCloseSplitView, m_splitViewController, [this](const PLNotification &notification) {
        const QVariant closed = notification.userInfo().value(PLSplitViewControllerUserInfoKeyClosedSplitViewContentViewController);
        if (closed.value<QObject *>() == this) {
            m_splitViewController = nullptr;
            PLNotificationCenter::defaultCenter().removeObserver(this);
            return;
        }
        displayCloseButton(m_splitViewController->splitViewCount() > 1);
    });
    center.addObserver(this, PLSplitViewControllerDidSplitView, m_splitViewController, [this](const PLNotification &) {
        displayCloseButton(m_splitViewController->splitViewCount() > 1);
    });
    center.addObserver(this, PLSplitViewControllerDidChangeSelectedSplitView, m_splitViewController,
                       [this](const PLNotification &) { updateTitleFont(); });
    center.addObserver(this, PLDocumentDidPerformSaveAsAction, m_document, [this](const PLNotification &notification) {
        const auto oldFile = notification.userInfo().value(PLDocumentUserInfoKeyOldMainFile).value<std::shared_ptr<PLFile>>();
        const auto newFile = notification.userInfo().value(PLDocumentUserInfoKeyNewMainFile).value<std::shared_ptr<PLFile>>();
        qCInfo(lcUi) << "did saveas:" << (oldFile ? oldFile->stringPath() : QString()) << "-"
                     << (newFile ? newFile->stringPath() : QString());
        if (oldFile && oldFile == m_file)
            setFile(newFile);
    });
    center.addObserver(this, PLNotificationPdfTransformationDidFinish, nullptr, [this](const PLNotification &notification) {
        if (m_isPdfToggled && notification.userInfo().value(PLDictionaryKeyDocument).value<QObject *>() == m_document)
            reloadPDF();
    });
    center.addObserver(this, PLNotificationEditorBackgroundColorDidChange, nullptr, [this](const PLNotification &) {
        if (m_textContentView)
            m_textContentView->applyEditorBackgroundColor();
    });
}

void PLSplitViewContentViewController::removeObservations()
{
    PLNotificationCenter::defaultCenter().removeObserver(this);
    XSViewController::removeObservations();
}

QWidget *PLSplitViewContentViewController::loadView()
{
    auto *view = new QWidget;
    view->setObjectName(nibName());
    auto *layout = new QVBoxLayout(view);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    m_titleBarView = new PLTitleBarView(view);
    auto *bar = m_titleBarView->makeRowLayout(2);
    m_historyNavigationBackwardsButton = new PLTitleBarButton(PLTitleBarButtonCell::NavigateLeft, m_titleBarView);
    m_historyNavigationForwardsButton = new PLTitleBarButton(PLTitleBarButtonCell::NavigateRight, m_titleBarView);
    m_historyNavigationBackwardsButton->setToolTip(tr("Back"));
    m_historyNavigationForwardsButton->setToolTip(tr("Forward"));
    m_historyNavigationBackwardsButton->setEnabled(false);
    m_historyNavigationForwardsButton->setEnabled(false);
    connect(m_historyNavigationBackwardsButton, &QAbstractButton::clicked, this, &PLSplitViewContentViewController::navigateBackward);
    connect(m_historyNavigationForwardsButton, &QAbstractButton::clicked, this, &PLSplitViewContentViewController::navigateForward);
    m_titleTextField = new QLabel(m_titleBarView);
    m_titleTextField->setAlignment(Qt::AlignCenter);
    m_titleTextField->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    // Typesetting is a window command; the pane offers it where the eye already is, as there is
    // no toolbar. The button has no type of its own, only an image.
    m_titleBarButtonTypeset = new PLTitleBarButton(-1, m_titleBarView);
    m_titleBarButtonTypeset->setImageNamed(QStringLiteral("titleBarButtonIconTypeset.png"));
    m_titleBarButtonTypeset->setToolTip(tr("Typeset (Ctrl+T)"));
    m_titleBarButtonTogglePDF = new PLTitleBarButton(PLTitleBarButtonCell::DisplayPDF, m_titleBarView);
    m_titleBarButtonTogglePDF->setToolTip(tr("Show the PDF"));
    m_titleBarButtonSplitView = new PLTitleBarButton(PLTitleBarButtonCell::Split, m_titleBarView);
    m_titleBarButtonSplitView->setToolTip(tr("Split the pane (with Alt and Shift: show the PDF in the new pane)"));
    m_titleBarButtonCloseSplit = new PLTitleBarButton(PLTitleBarButtonCell::CloseSplit, m_titleBarView);
    m_titleBarButtonCloseSplit->setToolTip(tr("Close the pane"));
    bar->addWidget(m_historyNavigationBackwardsButton);
    bar->addWidget(m_historyNavigationForwardsButton);
    bar->addWidget(new PLTitleBarButton(PLTitleBarButtonCell::Separator, m_titleBarView));
    bar->addWidget(m_titleTextField, 1);
    bar->addWidget(new PLTitleBarButton(PLTitleBarButtonCell::Separator, m_titleBarView));
    bar->addWidget(m_titleBarButtonTypeset);
    bar->addWidget(m_titleBarButtonTogglePDF);
    bar->addWidget(m_titleBarButtonSplitView);
    bar->addWidget(m_titleBarButtonCloseSplit);
    connect(m_titleBarButtonTypeset, &QAbstractButton::clicked, this,
            [this] { PLResponderChain::sendAction(this->view()->window(), PLAction::Typeset, nullptr); });
    connect(m_titleBarButtonTogglePDF, &QAbstractButton::clicked, this, &PLSplitViewContentViewController::toggleDocumentPDF);
    connect(m_titleBarButtonSplitView, &QAbstractButton::clicked, this,
            [this] { splitView(QGuiApplication::keyboardModifiers()); });
    connect(m_titleBarButtonCloseSplit, &QAbstractButton::clicked, this, &PLSplitViewContentViewController::closeView);

    m_contentView = new QWidget(view);
    m_contentLayout = new QStackedLayout(m_contentView);
    m_contentLayout->setContentsMargins(0, 0, 0, 0);
    m_pdfViewEncapsulatorView = new QWidget(m_contentView);
    m_pdfViewEncapsulatorView->setFocusPolicy(Qt::ClickFocus);
    m_pdfViewEncapsulatorView->installEventFilter(this);
    auto *pdfLayout = new QStackedLayout(m_pdfViewEncapsulatorView);
    pdfLayout->setContentsMargins(0, 0, 0, 0);
    m_pdfView = new PLPDFView(m_pdfViewEncapsulatorView);
    pdfLayout->addWidget(m_pdfView);
    // The placeholder goes once a document is shown, whenever its loading ends.
    connect(m_pdfView, &PLPDFView::documentChanged, this, [this, pdfLayout] {
        if (m_noPDFFoundView) {
            pdfLayout->removeWidget(m_noPDFFoundView);
            m_noPDFFoundView->deleteLater();
            m_noPDFFoundView = nullptr;
        }
        pdfLayout->setCurrentWidget(m_pdfView);
        if (m_isPdfToggled)
            setTitle(QFileInfo(m_document->mainFile()->pdfPath()).fileName());
    });
    connect(m_pdfView, &PLPDFView::syncRequested, this, [this](int page, const QPointF &point) {
        if (m_splitViewController)
            m_splitViewController->splitViewContentControllerDidRequestSyncFromPDFView(this, page, point);
    });
    connect(m_pdfView, &PLPDFView::didFocus, this,
            [this] { PLNotificationCenter::defaultCenter().post(PLNotificationSplitViewDidBecomeKey, this); });
    m_contentLayout->addWidget(m_pdfViewEncapsulatorView);

    layout->addWidget(m_titleBarView);
    layout->addWidget(m_contentView, 1);
    return view;
}

bool PLSplitViewContentViewController::eventFilter(QObject *watched, QEvent *event)
{
    // A click on the PDF side focuses the pane, as a click in its text does.
    if (watched == m_pdfViewEncapsulatorView && event->type() == QEvent::FocusIn)
        PLNotificationCenter::defaultCenter().post(PLNotificationSplitViewDidBecomeKey, this);
    return XSViewController::eventFilter(watched, event);
}

void PLSplitViewContentViewController::awakeFromNib()
{
    displayCloseButton(false);
}

void PLSplitViewContentViewController::setFile(const std::shared_ptr<PLFile> &file)
{
    if (!file || file == m_file)
        return;
    m_isSwitchingFile = true;
    const std::shared_ptr<PLFile> oldFile = m_file;
    m_file = file;
    // The new text view selects the file's own selection below; the history only follows.
    if (!m_isNavigating)
        m_historyHandler->switchToFile(m_file);
    view();
    if (!m_isPdfToggled)
        setTitle(m_file->name());
    replaceTextStorageInTextView();
    m_textContentView->setSelectedRange(m_file->selectedRange());
    m_isSwitchingFile = false;

    updateHistoryButtons();
    if (m_splitViewController)
        m_splitViewController->splitViewContentControllerDidChangeFromFile(this, oldFile, m_file);
    if (!m_isNavigating)
        m_historyHandler->pushRangeToHistoryStack(m_textContentView->selectedRange());
    updateHistoryButtons();

    checkIfFileWasReadProperlyAndPresentWarningIfNot();
    PLNotificationCenter &center = PLNotificationCenter::defaultCenter();
    if (oldFile)
        center.removeObserver(this, PLNotificationFileDidReloadContent, oldFile.get());
    center.addObserver(this, PLNotificationFileDidReloadContent, m_file.get(),
                       [this](const PLNotification &) { checkIfFileWasReadProperlyAndPresentWarningIfNot(); });

    m_textContentView->scrollRangeToVisible(m_textContentView->selectedRange());
    center.post(PLNotificationSplitViewDidBecomeKey, this);
}

void PLSplitViewContentViewController::checkIfFileWasReadProperlyAndPresentWarningIfNot()
{
    if (!m_file)
        return;
    QWidget *notice = m_errorReadingFileContentViewController->view();
    const bool shown = notice->parentWidget() == view();
    if (!m_file->wasContentReadProperly()) {
        m_errorReadingFileContentViewController->describeFile(*m_file);
        if (!shown) {
            // Between the title bar and the text, as wide as the pane; the text gives up its height.
            static_cast<QVBoxLayout *>(view()->layout())->insertWidget(1, notice);
            notice->show();
        }
    } else if (shown) {
        m_errorReadingFileContentViewController->close();
    }
}

void PLSplitViewContentViewController::errorReadingFileContentViewControllerDidRequestReopeningOfFileUsingEncoding(
    PLErrorReadingFileContentViewController *, PLStringEncoding encoding)
{
    qCInfo(lcUi) << "re open";
    if (!m_file)
        return;
    // Reading the file again replaces its text: what was typed since must not go unasked.
    if (m_file->hasUnsavedChanges()) {
        QMessageBox box(QMessageBox::Warning, tr("Re-open “%1”?").arg(m_file->name()),
                        tr("“%1” has changes that are not saved.").arg(m_file->name()), QMessageBox::Cancel, view()->window());
        box.setInformativeText(tr("Re-opening it in another encoding throws these changes away."));
        const QAbstractButton *reOpen = box.addButton(tr("Re-open"), QMessageBox::DestructiveRole);
        box.setDefaultButton(QMessageBox::Cancel);
        box.exec();
        if (box.clickedButton() != reOpen)
            return;
    }
    const std::shared_ptr<PLFile> file = m_file;
    PLError error;
    if (!file->reloadContentUsingEncoding(encoding, &error))
        qCWarning(lcUi) << "error while reloading content:" << error.message;
    checkIfFileWasReadProperlyAndPresentWarningIfNot();
}

void PLSplitViewContentViewController::replaceTextStorageInTextView()
{
    auto *textView = new PLTextView(m_file, m_contentView);
    // The delegate tells the window when the view takes the focus, and feeds the history.
    textView->setDelegate(new PLTextViewDelegate(m_file, this, m_historyHandler.get(), textView));
    new PLLineNumbersRulerView(textView);
    // Every move of the caret may have added to the history.
    connect(textView, &PLTextView::selectionDidChange, this, &PLSplitViewContentViewController::updateHistoryButtons);
    connect(textView, &PLTextView::selectionDidChange, this, &PLSplitViewContentViewController::selectionDidChange);
    const bool hadFocus = m_textContentView && m_textContentView->hasFocus();
    if (m_textContentView) {
        m_contentLayout->removeWidget(m_textContentView);
        m_textContentView->hide();
        m_textContentView->deleteLater();
    }
    m_textContentView = textView;
    m_contentLayout->insertWidget(0, textView);
    m_contentLayout->setCurrentWidget(m_isPdfToggled ? m_pdfViewEncapsulatorView : static_cast<QWidget *>(textView));
    if (hadFocus)
        textView->setFocus();
}

void PLSplitViewContentViewController::toggleDocumentPDF()
{
    view();
    m_isPdfToggled = !m_isPdfToggled;
    if (m_isPdfToggled) {
        m_titleBarButtonTogglePDF->setImageNamed(QStringLiteral("titlebarTextButton.png"));
        m_titleBarButtonTogglePDF->setToolTip(tr("Show the text"));
        m_historyNavigationBackwardsButton->setEnabled(false);
        m_historyNavigationForwardsButton->setEnabled(false);
        m_contentLayout->setCurrentWidget(m_pdfViewEncapsulatorView);
        // The mode chosen last in any pane is the one a pane starts with.
        m_pdfView->setDisplayMode(int(PLUserDefaults::standardUserDefaults().integerForKey(PLUserDefaultsPDFDisplayMode)));
        reloadPDF();
        if (m_splitViewController)
            m_splitViewController->splitViewContentControllerDidFocusOnPDFView(this);
    } else {
        m_titleBarButtonTogglePDF->setImageNamed(QStringLiteral("titlebarPDFButton.png"));
        m_titleBarButtonTogglePDF->setToolTip(tr("Show the PDF"));
        m_contentLayout->setCurrentWidget(m_textContentView);
        updateHistoryButtons();
        if (m_file)
            setTitle(m_file->name());
        if (m_splitViewController)
            m_splitViewController->splitViewContentControllerDidClosePDFView(this);
    }
    PLNotificationCenter::defaultCenter().post(PLNotificationSplitViewDidBecomeKey, this);
    if (m_splitViewController)
        m_splitViewController->saveSplitViewSetupToUserDefaults();
}

void PLSplitViewContentViewController::displayDocumentPDF()
{
    if (!m_isPdfToggled)
        toggleDocumentPDF();
}

void PLSplitViewContentViewController::reloadPDF()
{
    view();
    // The bytes are read at once so the file stays free for the next job; a missing or broken
    // file leaves whatever is shown.
    QFile pdf(m_document->mainFile()->pdfPath());
    const bool loading = pdf.open(QIODevice::ReadOnly) && m_pdfView->loadData(pdf.readAll());
    if (!loading && !m_pdfView->document())
        showNoPDFFoundView();
}

void PLSplitViewContentViewController::performTexSync(int tag)
{
    if (!m_splitViewController)
        return;
    if (tag == 0 && !m_isPdfToggled)
        m_splitViewController->splitViewContentControllerDidRequestSyncFromTextView(this);
    int page = -1;
    QPointF point;
    if (tag == 1 && m_isPdfToggled && m_pdfView->syncPoint(&page, &point))
        m_splitViewController->splitViewContentControllerDidRequestSyncFromPDFView(this, page, point);
}

void PLSplitViewContentViewController::showNoPDFFoundView()
{
    // Until the project has been typeset into a PDF that the pane can show, the placeholder
    // fills it.
    if (m_noPDFFoundView)
        return;
    qCInfo(lcUi) << "no pdf found";
    m_noPDFFoundView = new PLNoPDFFoundView(m_pdfViewEncapsulatorView);
    auto *pdfLayout = static_cast<QStackedLayout *>(m_pdfViewEncapsulatorView->layout());
    pdfLayout->addWidget(m_noPDFFoundView);
    pdfLayout->setCurrentWidget(m_noPDFFoundView);
}

void PLSplitViewContentViewController::splitView(Qt::KeyboardModifiers modifiers)
{
    if (!m_splitViewController)
        return;
    PLSplitViewController *splitViewController = m_splitViewController;
    if (wantsPDFInNewPane(modifiers))
        splitViewController->splitViewWithControllerAndDisplayPDF(this);
    else
        splitViewController->splitViewContentControllerShouldSplit(this);
    splitViewController->saveSplitViewSetupToUserDefaults();
}

void PLSplitViewContentViewController::closeView()
{
    if (!m_splitViewController)
        return;
    PLSplitViewController *splitViewController = m_splitViewController;
    if (splitViewController->splitViewContentControllerShouldClose(this))
        removeObservations();
    splitViewController->saveSplitViewSetupToUserDefaults();
}

void PLSplitViewContentViewController::flagsChanged(Qt::KeyboardModifiers modifiers)
{
    if (!m_titleBarButtonSplitView)
        return;
    m_titleBarButtonSplitView->setImageNamed(wantsPDFInNewPane(modifiers) ? QStringLiteral("titlebarSplitViewAddAndDisplayPDFButton.png")
                                                                          : QStringLiteral("titlebarSplitViewAddButton.png"));
}

void PLSplitViewContentViewController::displayCloseButton(bool display)
{
    view();
    m_titleBarButtonCloseSplit->setVisible(display);
}

void PLSplitViewContentViewController::makeKey()
{
    // Until there is a PDF the placeholder covers the PDF view; the PDF side takes the keys then.
    if (m_isPdfToggled)
        (m_pdfView->isVisible() ? static_cast<QWidget *>(m_pdfView) : m_pdfViewEncapsulatorView)->setFocus();
    else if (m_textContentView)
        m_textContentView->setFocus();
}

void PLSplitViewContentViewController::selectOutlineNode(const std::shared_ptr<PLOutlineNode> &node)
{
    const std::shared_ptr<PLFile> file = node ? node->file() : nullptr;
    if (!file)
        return;
    // The node starts where the text of the nodes before it in the file ends. The root holds no
    // piece of its own: the walk starts at its first child.
    qsizetype location = 0;
    if (node != file->outlineRootNode()) {
        for (auto walked = file->outlineRootNode()->childAtIndex(0); walked && walked != node; walked = walked->traverseRight())
            location += walked->contentLength();
    }
    // A pane showing the PDF shows where the node was typeset.
    if (m_isPdfToggled) {
        if (m_splitViewController)
            m_splitViewController->syncPDFToLocationInFile(file, location);
        return;
    }
    setFile(file);
    if (node != file->outlineRootNode())
        m_textContentView->jumpToRange(PLRange{location, 0});
    makeKey();
}

void PLSplitViewContentViewController::setTitle(const QString &title)
{
    m_titleTextField->setText(title);
    m_titleTextField->setToolTip(m_file ? m_file->stringPath() : QString());
    updateTitleFont();
}

void PLSplitViewContentViewController::updateTitleFont()
{
    if (!m_titleTextField)
        return;
    QFont font = m_titleTextField->font();
    font.setBold(isFocusedPane());
    m_titleTextField->setFont(font);
}

bool PLSplitViewContentViewController::isFocusedPane() const
{
    return m_splitViewController && m_splitViewController->selectedSplitViewController() == this;
}

void PLSplitViewContentViewController::navigateBackward()
{
    navigateInDirection(PLHistoryDirectionBackwards);
}

void PLSplitViewContentViewController::navigateForward()
{
    navigateInDirection(PLHistoryDirectionForwards);
}

void PLSplitViewContentViewController::navigateInDirection(qint32 direction)
{
    if (m_isPdfToggled || !m_textContentView)
        return;
    m_isNavigating = true;
    const PLRange range = m_historyHandler->getRangeInDirection(direction);
    // A range that reaches the very end of the text is not restored.
    if (range.isFound() && range.end() < m_textContentView->contentBuffer()->length()) {
        m_textContentView->setFocus();
        m_textContentView->setSelectedRange(range);
        m_textContentView->scrollRangeToVisible(range);
    }
    m_isNavigating = false;
    updateHistoryButtons();
}

void PLSplitViewContentViewController::updateHistoryButtons()
{
    if (!m_historyNavigationBackwardsButton || m_isPdfToggled)
        return;
    m_historyNavigationBackwardsButton->setEnabled(m_historyHandler->hasMoreRangesInDirection(PLHistoryDirectionBackwards));
    m_historyNavigationForwardsButton->setEnabled(m_historyHandler->hasMoreRangesInDirection(PLHistoryDirectionForwards));
}

void PLSplitViewContentViewController::findAndHighlightString(const QString &string, qint32 direction)
{
    if (m_isPdfToggled) {
        if (m_pdfView)
            m_pdfView->findString(string, direction == PLTextSearch::Forwards);
        return;
    }
    if (!m_textContentView)
        return;
    const PLRange hit = PLTextSearch::rangeOfString(m_textContentView->contentBuffer()->string(), string,
                                                    m_textContentView->selectedRange(), direction);
    if (!hit.isFound())
        return;
    m_textContentView->setSelectedRange(hit);
    m_textContentView->scrollRangeToVisible(hit);
    PLFindIndicator::flash(m_textContentView, hit);
}

void PLSplitViewContentViewController::replaceCurrentHighlightedSelectionWithString(const QString &string)
{
    if (m_isPdfToggled || !m_textContentView)
        return;
    m_textContentView->insertText(string, m_textContentView->selectedRange());
}
