#include "ui/window/PLMainAreaViewController.h"

#include "core/document/PLDocument.h"
#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "core/typesetting/PLLogItem.h"
#include "core/foundation/PLLogging.h"
#include "ui/window/PLSplitViewContentViewController.h"
#include "ui/window/PLSplitViewController.h"
#include "core/foundation/PLStringLineCalculations.h"
#include "core/editor/PLTextContentBuffer.h"
#include "ui/editor/PLTextView.h"
#include "ui/typesetting/PLTypesetterProgressViewController.h"
#include "ui/window/PLTypesettingLogParserResultsTableViewController.h"

#include <QApplication>
#include <QDir>
#include <QSplitter>
#include <QVBoxLayout>

PLMainAreaViewController::PLMainAreaViewController(PLDocument *document, XSWindowController *windowController, QObject *parent)
    : XSViewController(QString(), windowController, parent), m_document(document),
      m_editorSplitViewController(new PLSplitViewController(document, windowController, this)),
      m_typesetterProgressViewController(new PLTypesetterProgressViewController(document, windowController, this)),
      m_errorsAndWarningsViewController(
          new PLTypesettingLogParserResultsTableViewController(document, m_typesetterProgressViewController, windowController, this)),
      m_findAndReplaceViewController(new PLFindAndReplaceViewController(windowController, this))
{
    addChild(m_editorSplitViewController);
    addChild(m_typesetterProgressViewController);
    addChild(m_errorsAndWarningsViewController);
    addChild(m_findAndReplaceViewController);
    m_findAndReplaceViewController->setUiDelegate(this);
    m_findAndReplaceViewController->setDelegate(this);
    connect(m_typesetterProgressViewController, &PLTypesetterProgressViewController::didRequestDisplayOfErrorOutline, this,
            &PLMainAreaViewController::errorsAndWarningsViewControllerDisplayView);
    connect(m_errorsAndWarningsViewController, &PLTypesettingLogParserResultsTableViewController::displayView, this,
            &PLMainAreaViewController::errorsAndWarningsViewControllerDisplayView);
    connect(m_errorsAndWarningsViewController, &PLTypesettingLogParserResultsTableViewController::hideView, this,
            &PLMainAreaViewController::errorsAndWarningsViewControllerHideView);
    connect(m_errorsAndWarningsViewController, &PLTypesettingLogParserResultsTableViewController::didSelectItem, this,
            [this](PLTypesettingLogParserResultsTableViewController *, const std::shared_ptr<PLLogItem> &item) {
                errorsAndWarningsViewControllerDidSelectItem(item);
            });
    connect(m_typesetterProgressViewController, &PLTypesetterProgressViewController::shouldAppear, this,
            &PLMainAreaViewController::showTypesettingStrip);
    connect(m_typesetterProgressViewController, &PLTypesetterProgressViewController::shouldDisappear, this,
            &PLMainAreaViewController::hideTypesettingStrip);
}

PLMainAreaViewController::~PLMainAreaViewController() = default;

QWidget *PLMainAreaViewController::loadView()
{
    auto *view = new QWidget;
    view->setObjectName(QStringLiteral("PLMainArea"));
    auto *layout = new QVBoxLayout(view);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    QWidget *strip = m_typesetterProgressViewController->view();
    strip->hide();
    layout->addWidget(strip);
    QWidget *findBar = m_findAndReplaceViewController->view();
    findBar->hide();
    layout->addWidget(findBar);
    m_bottomSplitView = new QSplitter(Qt::Vertical, view);
    m_bottomSplitView->setObjectName(QStringLiteral("PLMainAreaBottomSplitView"));
    m_bottomSplitView->setChildrenCollapsible(false);
    m_bottomSplitView->addWidget(m_editorSplitViewController->view());
    QWidget *errorList = m_errorsAndWarningsViewController->view();
    errorList->hide();
    m_bottomSplitView->addWidget(errorList);
    m_bottomSplitView->setStretchFactor(0, 1);
    m_bottomSplitView->setStretchFactor(1, 0);
    layout->addWidget(m_bottomSplitView, 1);
    return view;
}

void PLMainAreaViewController::errorsAndWarningsViewControllerDisplayView()
{
    view();
    QWidget *errorList = m_errorsAndWarningsViewController->view();
    if (!errorList->isHidden())
        return;
    errorList->show();
    QList<int> sizes = m_bottomSplitView->sizes();
    const int total = sizes.value(0) + sizes.value(1);
    const int height = m_errorsAndWarningsViewController->savedHeight();
    m_bottomSplitView->setSizes({qMax(total - height, 0), height});
}

void PLMainAreaViewController::errorsAndWarningsViewControllerHideView()
{
    QWidget *errorList = m_errorsAndWarningsViewController->view();
    if (errorList->isHidden())
        return;
    m_errorsAndWarningsViewController->setSavedHeight(m_bottomSplitView->sizes().value(1));
    errorList->hide();
}

void PLMainAreaViewController::errorsAndWarningsViewControllerDidSelectItem(const std::shared_ptr<PLLogItem> &item)
{
    PLSplitViewContentViewController *pane = m_editorSplitViewController->selectedSplitViewController();
    if (!pane || !item || item->filePath().isEmpty())
        return;
    // The engine names files as it opened them ("./chapters/one.tex" under the main file's folder).
    const QString path = QDir::cleanPath(item->filePath());
    std::shared_ptr<PLFile> file;
    for (const std::shared_ptr<PLFile> &candidate : m_document->filesInDocument()) {
        if (QDir::cleanPath(candidate->stringPath()) == path) {
            file = candidate;
            break;
        }
    }
    if (!file)
        file = PLFilePool::sharedFilePool().fileForPath(path);
    if (!file || !file->contentBuffer()) {
        qCInfo(lcUi) << "no open file for the log item at" << path;
        return;
    }
    if (pane->isPdfToggled())
        pane->toggleDocumentPDF();
    pane->setFile(file);
    const PLRange start{PLStringLineCalculations::locationOfLineStart(file->contentBuffer()->string(), qMax(item->line(), 1)), 0};
    pane->makeKey();
    pane->textContentView()->jumpToRange(start);
}

void PLMainAreaViewController::showTypesettingStrip()
{
    view();
    m_typesetterProgressViewController->view()->show();
}

void PLMainAreaViewController::hideTypesettingStrip()
{
    m_typesetterProgressViewController->view()->hide();
}

void PLMainAreaViewController::sideBarDidSelectItem(const std::shared_ptr<PLOutlineNode> &node)
{
    if (PLSplitViewContentViewController *pane = m_editorSplitViewController->selectedSplitViewController())
        pane->selectOutlineNode(node);
}

void PLMainAreaViewController::findAndReplaceViewControllerWillDisplayView(PLFindAndReplaceViewController *, QWidget *)
{
    view();
    m_findAndReplaceViewController->view()->show();
}

void PLMainAreaViewController::findAndReplaceViewControllerWillHideView(PLFindAndReplaceViewController *, QWidget *)
{
    QWidget *findBar = m_findAndReplaceViewController->view();
    const bool hadFocus = findBar->isAncestorOf(QApplication::focusWidget());
    findBar->hide();
    // The keys go back to the text the bar searched.
    if (hadFocus)
        if (PLSplitViewContentViewController *pane = m_editorSplitViewController->selectedSplitViewController())
            pane->makeKey();
}

void PLMainAreaViewController::findAndReplaceViewControllerDidSearchForString(PLFindAndReplaceViewController *,
                                                                              const QString &string, qint32 direction)
{
    if (PLSplitViewContentViewController *pane = m_editorSplitViewController->selectedSplitViewController())
        pane->findAndHighlightString(string, direction);
}

void PLMainAreaViewController::findAndReplaceViewControllerDidRequestStringReplacement(PLFindAndReplaceViewController *,
                                                                                       const QString &replacement)
{
    if (PLSplitViewContentViewController *pane = m_editorSplitViewController->selectedSplitViewController())
        pane->replaceCurrentHighlightedSelectionWithString(replacement);
}

QString PLMainAreaViewController::findAndReplaceViewControllerDidRequestStringInSelectedRange(PLFindAndReplaceViewController *)
{
    PLSplitViewContentViewController *pane = m_editorSplitViewController->selectedSplitViewController();
    if (!pane || pane->isPdfToggled() || !pane->textContentView())
        return QString();
    const PLRange selection = pane->textContentView()->selectedRange();
    return pane->textContentView()->contentBuffer()->string().mid(selection.location, selection.length);
}
