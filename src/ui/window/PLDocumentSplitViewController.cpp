#include "ui/window/PLDocumentSplitViewController.h"

#include "ui/window/PLMainAreaViewController.h"
#include "ui/window/PLSideBarViewController.h"
#include "ui/window/PLSplitView.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <cmath>

PLDocumentSplitViewController::PLDocumentSplitViewController(PLDocument *document, XSWindowController *windowController,
                                                             QObject *parent)
    : XSViewController(QStringLiteral("PLDocumentSplitView"), windowController, parent), m_document(document),
      m_sideBarViewController(new PLSideBarViewController(document, windowController, this)),
      m_mainAreaViewController(new PLMainAreaViewController(document, windowController, this))
{
    addChild(m_sideBarViewController);
    addChild(m_mainAreaViewController);
    m_sideBarViewController->setDelegate(m_mainAreaViewController);
}

PLDocumentSplitViewController::~PLDocumentSplitViewController() = default;

PLSplitView *PLDocumentSplitViewController::splitView()
{
    view();
    return m_splitView;
}

QWidget *PLDocumentSplitViewController::loadView()
{
    m_splitView = new PLSplitView(Qt::Horizontal);
    m_splitView->setObjectName(nibName());
    m_splitView->setChildrenCollapsible(false);
    m_splitView->setHandleWidth(3);
    m_splitView->addWidget(m_sideBarViewController->view());
    m_splitView->addWidget(m_mainAreaViewController->view());
    m_splitView->setStretchFactor(0, 0);
    m_splitView->setStretchFactor(1, 1);
    m_sideBarViewController->view()->setMinimumWidth(minimumSidebarWidth);
    m_splitView->setConstraint([this](int proposed) { return int(std::lround(constrainSplitPosition(proposed))); });
    // The width is worked out from the remembered one each time, so a window that narrowed and
    // widened again gives the sidebar back what it gave up.
    m_splitView->setResizeRule([this](int) { return sidebarWidthForCurrentSize(); });

    const PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    const double stored = defaults.doubleForKey(PLDocumentSidebarWidth);
    if (defaults.hasUserValue(PLDocumentSidebarWidth) && stored > 0)
        m_preferredSidebarWidth = int(std::lround(stored));
    m_splitView->setFirstDividerPosition(m_preferredSidebarWidth);
    return m_splitView;
}

int PLDocumentSplitViewController::sidebarWidthForCurrentSize() const
{
    const int width = m_splitView->width();
    const int handle = m_splitView->handleWidth();
    const int widest = qMin(int(width * 0.5) - handle, width - handle - comfortableEditorWidth);
    return qMax(minimumSidebarWidth, qMin(m_preferredSidebarWidth, widest));
}

double PLDocumentSplitViewController::constrainSplitPosition(double proposedPosition)
{
    const double raised = qMax(proposedPosition, double(minimumSidebarWidth));
    m_preferredSidebarWidth = int(std::lround(qMin(raised, splitView()->width() * 0.5 - splitView()->handleWidth())));
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    defaults.setDouble(raised, PLDocumentSidebarWidth);
    defaults.synchronize();
    if (raised == minimumSidebarWidth)
        return raised;
    return qMin(proposedPosition, splitView()->width() * 0.5 - splitView()->handleWidth());
}
