#include "PLSplitViewController.h"

#include "PLDocument.h"
#include "PLFile.h"
#include "PLGoToLineWindowController.h"
#include "PLMainMenu.h"
#include "PLNotificationCenter.h"
#include "PLNotificationNameConstants.h"
#include "PLSplitView.h"
#include "PLSplitViewContentViewController.h"
#include "PLUserDefaults.h"
#include "PLUserDefaultsConstants.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QSplitter>

#include <numeric>

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
    newPane->setFile(pane->file());
    m_contentViewControllers.insert(index + 1, newPane);
    m_splitView->insertWidget(index + 1, newPane->view());
    insertObjectInChildrenAtIndex(newPane, index + 1);
    widths[index] = width / 2;
    widths.insert(index + 1, width - width / 2);
    m_splitView->setSizes(widths);
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
