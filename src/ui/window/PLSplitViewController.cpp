#include "ui/window/PLSplitViewController.h"

#include "core/document/PLDocument.h"
#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "ui/window/PLGoToLineWindowController.h"
#include "core/foundation/PLLogging.h"
#include "ui/app/PLMainMenu.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "ui/window/PLSplitView.h"
#include "ui/typesetting/PLPDFView.h"
#include "ui/window/PLSplitViewContentViewController.h"
#include "core/foundation/PLStringLineCalculations.h"
#include "core/typesetting/PLSyncTexCalculationUtil.h"
#include "core/typesetting/PLSyncTexSearch.h"
#include "core/editor/PLTextContentBuffer.h"
#include "ui/editor/PLTextView.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QKeyEvent>
#include <QPdfDocument>
#include <QPdfSelection>
#include <QSplitter>

#include <numeric>
#include <optional>

PLSplitViewController::PLSplitViewController(PLDocument *document, XSWindowController *windowController, QObject *parent)
    : XSViewController(QString(), windowController, parent), m_document(document)
{
    view();
    m_restoringLayout = true;
    QList<QVariantMap> setup = PLUserDefaults::standardUserDefaults().arrayForKey(PLUserDefaultsSplitViewSetup);
    // A layout that cannot be read still gives the window one pane of text.
    if (setup.isEmpty())
        setup << QVariantMap{{PLSplitViewSetupContentType, 0}, {PLSplitViewSetupContentPercentageWidth, 100.0}};
    for (const QVariantMap &entry : setup) {
        PLSplitViewContentViewController *pane = makePane();
        addChild(pane);
        pane->setFile(m_document->mainFile());
        m_contentViewControllers << pane;
        m_selectedSplitViewController = pane;
        m_splitView->addWidget(pane->view());
        if (entry.value(PLSplitViewSetupContentType).toInt() == 1)
            pane->displayDocumentPDF();
        PLNotificationCenter::defaultCenter().post(PLSplitViewControllerDidSplitView, this);
    }
    // Widths are shares of the whole; the splitter scales them to its width once it has one.
    QList<int> widths;
    for (const QVariantMap &entry : setup)
        widths << qMax(1, qRound(entry.value(PLSplitViewSetupContentPercentageWidth).toDouble() * 100));
    m_splitView->setSizes(widths);
    m_restoringLayout = false;
    if (!m_contentViewControllers.isEmpty())
        focusOnSplitViewContentViewController(m_contentViewControllers.first());

    setActionHandler(
        PLAction::NavigateToSplitViewMenuItemPressed, [this](QAction *item) { navigateToSplitViewMenuItemPressed(item); },
        [this](QAction *) { return splitViewCount() > 1; });
    setActionHandler(
        PLAction::DisplayGoToLineWindow, [this](QAction *) { displayGoToLineWindow(); },
        [this](QAction *) { return m_selectedSplitViewController && !m_selectedSplitViewController->isPdfToggled(); });
    qApp->installEventFilter(this);
    // However the focus moves into a pane (a click, Tab, a closed neighbour), that pane becomes
    // the selected one, so typing and the selection never part.
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) {
        if (m_restoringLayout || !now)
            return;
        for (PLSplitViewContentViewController *pane : std::as_const(m_contentViewControllers)) {
            if (pane != m_selectedSplitViewController && pane->isViewLoaded() && pane->view()->isAncestorOf(now)) {
                focusOnSplitViewContentViewController(pane);
                return;
            }
        }
    });
}

PLSplitViewController::~PLSplitViewController()
{
    PLNotificationCenter::defaultCenter().removeObserver(this);
}

QSplitter *PLSplitViewController::splitView()
{
    view();
    return m_splitView;
}

QWidget *PLSplitViewController::loadView()
{
    m_splitView = new PLSplitView(Qt::Horizontal);
    m_splitView->setObjectName(QStringLiteral("PLEditorSplitView"));
    m_splitView->setChildrenCollapsible(false);
    m_splitView->setHandleWidth(3);
    connect(m_splitView, &QSplitter::splitterMoved, this, &PLSplitViewController::saveSplitViewSetupToUserDefaults);
    return m_splitView;
}

PLSplitViewContentViewController *PLSplitViewController::makePane()
{
    auto *pane = new PLSplitViewContentViewController(this, m_document, windowController());
    observe(pane);
    connect(pane, &PLSplitViewContentViewController::selectionDidChange, this, [this, pane] {
        if (pane == m_selectedSplitViewController)
            emit selectedSplitViewSelectionDidChange();
    });
    return pane;
}

void PLSplitViewController::observe(PLSplitViewContentViewController *pane)
{
    PLNotificationCenter::defaultCenter().addObserver(this, PLNotificationSplitViewDidBecomeKey, pane,
                                                      [this, pane](const PLNotification &) {
                                                          if (!m_restoringLayout && m_selectedSplitViewController != pane)
                                                              focusOnSplitViewContentViewController(pane);
                                                      });
}

void PLSplitViewController::splitViewWithController(PLSplitViewContentViewController *pane)
{
    const int index = int(m_contentViewControllers.indexOf(pane));
    if (index < 0)
        return;
    QList<int> widths = m_splitView->sizes();
    const int width = widths.at(index);
    PLSplitViewContentViewController *newPane = makePane();
    m_contentViewControllers.insert(index + 1, newPane);
    m_splitView->insertWidget(index + 1, newPane->view());
    insertObjectInChildrenAtIndex(newPane, index + 1);
    widths[index] = width / 2;
    widths.insert(index + 1, width - width / 2);
    m_splitView->setSizes(widths);
    // Shown before it gets its file: the file makes it the selected pane, and a pane that is not
    // on screen yet could not take the keyboard focus that goes with that.
    newPane->setFile(pane->file());
    PLNotificationCenter::defaultCenter().post(PLSplitViewControllerDidSplitView, this);
}

void PLSplitViewController::splitViewWithControllerAndDisplayPDF(PLSplitViewContentViewController *pane)
{
    splitViewWithController(pane);
    const int index = int(m_contentViewControllers.indexOf(pane));
    if (index >= 0 && index + 1 < m_contentViewControllers.size())
        m_contentViewControllers.at(index + 1)->displayDocumentPDF();
}

void PLSplitViewController::closeViewWithController(PLSplitViewContentViewController *pane)
{
    if (!m_contentViewControllers.contains(pane))
        return;
    QWidget *paneView = pane->view();
    paneView->hide();
    paneView->setParent(nullptr);
    m_contentViewControllers.removeOne(pane);
    PLNotificationCenter::defaultCenter().removeObserver(this, PLNotificationSplitViewDidBecomeKey, pane);
    const int index = int(children().indexOf(pane));
    removeObjectFromChildrenAtIndex(index);
    if (m_selectedSplitViewController == pane)
        m_selectedSplitViewController = nullptr;
    if (m_selectedSplitTextViewViewController == pane)
        m_selectedSplitTextViewViewController = nullptr;
    if (m_selectedPDFPane == pane)
        m_selectedPDFPane = nullptr;
    pane->deleteLater();
    PLNotificationCenter::defaultCenter().post(PLSplitViewControllerDidCloseSplitView, this);
    if (!children().isEmpty()) {
        const int focused = index == countOfChildren() ? index - 1 : index;
        focusOnSplitViewContentViewController(static_cast<PLSplitViewContentViewController *>(children().at(focused)));
    }
}

void PLSplitViewController::focusOnSplitViewContentViewController(PLSplitViewContentViewController *pane)
{
    if (pane->isPdfToggled()) {
        m_selectedPDFPane = pane;
        m_selectedSplitViewController = pane;
        PLNotificationCenter::defaultCenter().post(PLSplitViewControllerDidChangeSelectedSplitView, this);
        PLNotificationCenter::defaultCenter().post(PLSplitViewControllerDidFocusOnPDFView, this);
    } else {
        m_selectedSplitTextViewViewController = pane;
        m_selectedSplitViewController = pane;
        PLNotificationCenter::defaultCenter().post(PLSplitViewControllerDidChangeSelectedSplitView, this);
    }
    pane->makeKey();
}

void PLSplitViewController::changeSelectionSplitViewToSplitViewInDirection(int direction)
{
    const int count = splitViewCount();
    if (count == 0 || (direction != 0 && direction != 1))
        return;
    const int index = int(m_contentViewControllers.indexOf(m_selectedSplitViewController));
    const int next = direction == 0 ? (index - 1 + count) % count : (index + 1) % count;
    focusOnSplitViewContentViewController(m_contentViewControllers.at(next));
}

void PLSplitViewController::navigateToSplitViewMenuItemPressed(QAction *item)
{
    changeSelectionSplitViewToSplitViewInDirection(PLMainMenu::tagOfItem(item));
}

void PLSplitViewController::saveSplitViewSetupToUserDefaults()
{
    if (m_restoringLayout)
        return;
    const QList<int> widths = m_splitView->sizes();
    const double total = std::accumulate(widths.begin(), widths.end(), 0.0);
    QList<QVariantMap> setup;
    for (int index = 0; index < m_contentViewControllers.size(); ++index) {
        QVariantMap entry;
        entry.insert(PLSplitViewSetupContentType, m_contentViewControllers.at(index)->isPdfToggled() ? 1 : 0);
        entry.insert(PLSplitViewSetupContentPercentageWidth, total > 0 ? widths.value(index) / total * 100.0 : 0.0);
        setup << entry;
    }
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    defaults.setArray(setup, PLUserDefaultsSplitViewSetup);
    defaults.synchronize();
}

PLResponder *PLSplitViewController::nextResponder() const
{
    if (m_selectedSplitViewController)
        return m_selectedSplitViewController;
    return XSViewController::nextResponder();
}

void PLSplitViewController::removeObservations()
{
    PLNotificationCenter::defaultCenter().removeObserver(this);
    qApp->removeEventFilter(this);
    XSViewController::removeObservations();
}

bool PLSplitViewController::eventFilter(QObject *watched, QEvent *event)
{
    // The split buttons show what a click would do while Alt and Shift are held.
    if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (key->key() == Qt::Key_Alt || key->key() == Qt::Key_Shift || key->key() == Qt::Key_Meta) {
            Qt::KeyboardModifiers modifiers = key->modifiers();
            const Qt::KeyboardModifier changed = key->key() == Qt::Key_Alt ? Qt::AltModifier : Qt::ShiftModifier;
            modifiers.setFlag(changed, event->type() == QEvent::KeyPress);
            for (PLSplitViewContentViewController *pane : std::as_const(m_contentViewControllers))
                pane->flagsChanged(modifiers);
        }
    }
    return XSViewController::eventFilter(watched, event);
}

bool PLSplitViewController::splitViewContentControllerShouldSplit(PLSplitViewContentViewController *pane)
{
    splitViewWithController(pane);
    return true;
}

bool PLSplitViewController::splitViewContentControllerShouldClose(PLSplitViewContentViewController *pane)
{
    closeViewWithController(pane);
    return true;
}

void PLSplitViewController::splitViewContentControllerDidFocusOnPDFView(PLSplitViewContentViewController *pane)
{
    if (!m_restoringLayout)
        focusOnSplitViewContentViewController(pane);
}

void PLSplitViewController::splitViewContentControllerDidClosePDFView(PLSplitViewContentViewController *pane)
{
    if (m_selectedPDFPane == pane)
        m_selectedPDFPane = nullptr;
    PLNotificationCenter::defaultCenter().post(PLSplitViewControllerDidClosePDFView, this);
    focusOnSplitViewContentViewController(pane);
}

void PLSplitViewController::splitViewContentControllerDidChangeFromFile(PLSplitViewContentViewController *,
                                                                        const std::shared_ptr<PLFile> &,
                                                                        const std::shared_ptr<PLFile> &)
{
    PLNotificationCenter::defaultCenter().post(PLSplitViewControllerSelectedSplitViewDidChangeFile, this);
}

void PLSplitViewController::displayGoToLineWindow()
{
    if (!m_goToLineWindowController)
        m_goToLineWindowController = new PLGoToLineWindowController(this);
    if (m_selectedSplitViewController)
        m_goToLineWindowController->setTextView(m_selectedSplitViewController->textContentView());
    m_goToLineWindowController->showWindow();
}

void PLSplitViewController::splitViewContentControllerDidRequestSyncFromTextView(PLSplitViewContentViewController *pane)
{
    if (pane->file() && pane->textContentView())
        syncPDFToLocationInFile(pane->file(), pane->textContentView()->selectedRange().location);
}

void PLSplitViewController::syncPDFToLocationInFile(const std::shared_ptr<PLFile> &file, qsizetype location)
{
    if (!file || !file->contentBuffer())
        return;
    // The PDF pane focused last, else any pane that shows the PDF.
    PLSplitViewContentViewController *pdfPane = nullptr;
    for (PLSplitViewContentViewController *candidate : std::as_const(m_contentViewControllers)) {
        if (candidate->isPdfToggled() && candidate->pdfView()->document() && (!pdfPane || candidate == m_selectedPDFPane))
            pdfPane = candidate;
    }
    if (!pdfPane)
        return;
    int line = 0;
    int column = 0;
    PLSyncTexCalculationUtil().convertRange(PLRange{location, 0}, file->contentBuffer()->string(), &line, &column);
    PLPDFView *pdfView = pdfPane->pdfView();
    const QList<PLSyncTexForwardResult> results =
        PLSyncTexSearch(m_document->mainFile()->pdfPath()).forwardSearch(file->stringPath(), line, column);
    // The last result whose point starts some text wins; a PDF without a text layer still shows
    // the box the line went into.
    int page = -1;
    QRectF area;
    std::optional<QPdfSelection> shown;
    for (const PLSyncTexForwardResult &result : results) {
        const int index = result.page - 1;
        if (index < 0 || index >= pdfView->pageCount())
            continue;
        const QPdfSelection selection =
            pdfView->selection(index, QPointF(result.h, result.v), QPointF(result.h + 10, result.v));
        if (!selection.text().isEmpty()) {
            page = index;
            shown = selection;
        } else if (!shown) {
            page = index;
            area = QRectF(result.boxH, result.boxV - result.boxHeight, result.boxWidth, result.boxHeight + result.boxDepth);
        }
    }
    if (shown)
        pdfView->showSelection(page, *shown);
    else if (page >= 0)
        pdfView->showArea(page, area);
}

void PLSplitViewController::splitViewContentControllerDidRequestSyncFromPDFView(PLSplitViewContentViewController *pane, int page,
                                                                                const QPointF &point)
{
    const std::shared_ptr<PLFile> mainFile = m_document->mainFile();
    qCInfo(lcSyncTex, "pageNumber: %d, h: %d, v: %d", page + 1, int(point.x()), int(point.y()));
    const QList<PLSyncTexBackwardResult> results =
        PLSyncTexSearch(mainFile->pdfPath()).backwardSearch(page + 1, point.x(), point.y(), mainFile->directoryPathOfFile());
    std::shared_ptr<PLFile> file;
    int line = 0;
    for (const PLSyncTexBackwardResult &result : results) {
        const QString path = QDir::cleanPath(result.filePath);
        std::shared_ptr<PLFile> found;
        for (const std::shared_ptr<PLFile> &candidate : m_document->filesInDocument()) {
            if (QDir::cleanPath(candidate->stringPath()) == path)
                found = candidate;
        }
        if (!found)
            found = PLFilePool::sharedFilePool().fileForPath(path);
        if (!found || !found->contentBuffer()) {
            qCInfo(lcSyncTex) << "no project file at" << path;
            continue;
        }
        file = found;
        line = result.line;
    }
    if (!file)
        return;
    // The text pane focused last; with none, the PDF pane makes one beside itself.
    PLSplitViewContentViewController *textPane = m_selectedSplitTextViewViewController;
    if (!textPane || textPane->isPdfToggled() || !m_contentViewControllers.contains(textPane)) {
        textPane = nullptr;
        for (PLSplitViewContentViewController *candidate : std::as_const(m_contentViewControllers)) {
            if (!candidate->isPdfToggled())
                textPane = candidate;
        }
    }
    if (!textPane) {
        splitViewWithController(pane);
        textPane = m_contentViewControllers.at(m_contentViewControllers.indexOf(pane) + 1);
    }
    textPane->setFile(file);
    const QString &text = file->contentBuffer()->string();
    const qsizetype start = PLStringLineCalculations::locationOfLineStart(text, qMax(line, 1));
    qsizetype end = text.indexOf(QLatin1Char('\n'), start);
    if (end < 0)
        end = text.size();
    const PLRange range{start, qMax<qsizetype>(end - start, 1)};
    focusOnSplitViewContentViewController(textPane);
    textPane->textContentView()->setSelectedRange(range);
    textPane->textContentView()->scrollRangeToVisible(range);
}
