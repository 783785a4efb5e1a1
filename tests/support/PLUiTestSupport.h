#pragma once

#include "core/document/PLDocument.h"
#include "core/editor/PLTextContentBuffer.h"
#include "core/foundation/PLDictionaryKeys.h"
#include "core/foundation/PLError.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/project/PLFile.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/foundation/PLUserDefaultsConstants.h"
#include "ui/app/PLApplicationController.h"
#include "ui/app/PLDocumentController.h"
#include "ui/app/PLDocumentWindowController.h"
#include "ui/app/PLMainMenu.h"
#include "ui/editor/PLTextView.h"
#include "ui/window/PLDocumentSplitViewController.h"
#include "ui/window/PLMainAreaViewController.h"
#include "ui/window/PLResponderChain.h"
#include "ui/window/PLSplitViewContentViewController.h"
#include "ui/window/PLSplitViewController.h"
#include "PLTestSupport.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextLayout>
#include <QTimer>
#include <QUrl>

// Waits on the event loop until the condition holds, failing the test if it never does (the
// QTRY_ macros report to QTest, which GoogleTest does not hear).
#define WAIT_UNTIL(condition) ASSERT_TRUE(QTest::qWaitFor([&] { return bool(condition); })) << #condition

// Helpers of the widget tests.
namespace PLTest {

// A project in a temporary folder, written file by file.
class Project
{
public:
    QString path(const QString &relative) const { return QDir(m_folder.path()).filePath(relative); }
    QString write(const QString &relative, const QString &text)
    {
        writeFile(path(relative), text.toUtf8());
        return path(relative);
    }

private:
    QTemporaryDir m_folder;
};

// A fixture over a table of cases.
template<typename Fixture, typename Case>
class WithParam : public Fixture, public ::testing::WithParamInterface<Case>
{
};

// Answers the next message box with the button, as the user would: from inside the box's own
// event loop. Records the box's text.
inline void answerNextMessageBox(QMessageBox::StandardButton button, QString *text = nullptr)
{
    auto *timer = new QTimer(qApp);
    timer->setInterval(5);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, button, text] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box || !box->isVisible())
            return;
        if (text)
            *text = box->text();
        timer->stop();
        timer->deleteLater();
        box->button(button)->click();
    });
    timer->start();
}

// The window's menu item for the action (and the tag, when one is given).
inline QAction *menuItem(QMainWindow *window, PLAction action, int tag = -1)
{
    for (QAction *menu : window->menuBar()->actions()) {
        for (QAction *item : menu->menu()->actions()) {
            if (!item->isSeparator() && !item->menu() && PLMainMenu::actionOfItem(item) == action
                && (tag < 0 || PLMainMenu::tagOfItem(item) == tag))
                return item;
        }
    }
    return nullptr;
}

// The colour a text view shows at a position of its file's text.
inline QColor shownColour(const PLTextView &view, qsizetype location)
{
    const int position = int(view.mirrorPosition(location));
    const QTextBlock block = view.document()->findBlock(position);
    QColor colour;
    for (const QTextLayout::FormatRange &range : block.layout()->formats()) {
        if (position - block.position() >= range.start && position - block.position() < range.start + range.length
            && range.format.hasProperty(QTextFormat::ForegroundBrush))
            colour = range.format.foreground().color();
    }
    return colour;
}

// Closes every project, throwing away what a test left unsaved.
inline void closeDiscardingChanges(PLDocumentController &documents)
{
    for (PLDocument *document : documents.documents()) {
        if (document->isDocumentEdited())
            answerNextMessageBox(QMessageBox::Discard);
    }
    documents.closeAllDocuments();
}

// A project in a temporary folder, opened in its window with fresh settings; closed again,
// unsaved changes thrown away, after the test.
class ProjectWindowTest : public ::testing::Test
{
protected:
    void SetUp() override { resetSettings(); }
    void TearDown() override { closeDiscardingChanges(documents); }
    // Opens the project of the file in a window of the size; shown and active when asked. Events
    // run before it returns unless told not to.
    void openWindow(const QString &path, QSize size = QSize(900, 500), bool show = true, bool runEvents = true)
    {
        PLError error;
        document = documents.openDocumentWithContentsOfURL(QUrl::fromLocalFile(path), true, &error);
        ASSERT_NE(document, nullptr) << error.message.toStdString();
        windowController = documents.windowControllerForDocument(document);
        window = windowController->documentWindow();
        window->resize(size);
        editor = mainArea()->editorSplitViewController();
        if (show) {
            window->show();
            window->activateWindow();
            ASSERT_TRUE(QTest::qWaitForWindowActive(window));
            pane(0)->makeKey();
        }
        if (runEvents)
            QCoreApplication::processEvents();
    }
    PLMainAreaViewController *mainArea() const { return windowController->splitViewController()->mainAreaViewController(); }
    PLSplitViewContentViewController *pane(int index = 0) const { return editor->splitViewContentControllerAtIndex(index); }
    PLTextView *textView(int index = 0) const { return pane(index)->textContentView(); }
    QAction *menuItem(PLAction action, int tag = -1) const { return PLTest::menuItem(window, action, tag); }
    bool isEnabled(PLAction action, int tag = -1) const
    {
        return PLResponderChain::validateMenuItem(window, action, menuItem(action, tag));
    }
    // The typesetting job's finish notification, for the document or another.
    void postJobFinished(QObject *ofDocument)
    {
        PLNotificationCenter::defaultCenter().post(PLNotificationPdfTransformationDidFinish, this,
                                                   {{PLDictionaryKeyDocument, QVariant::fromValue(ofDocument)}});
    }
    Project project;
    PLDocumentController documents;
    PLDocument *document = nullptr;
    PLDocumentWindowController *windowController = nullptr;
    QMainWindow *window = nullptr;
    PLSplitViewController *editor = nullptr;
};

// The application with fresh settings; its projects are closed, unsaved changes thrown away, after
// the test.
class ApplicationTest : public ::testing::Test
{
protected:
    void SetUp() override { resetSettings(); }
    void TearDown() override { closeDiscardingChanges(*application.documentController()); }
    Project project;
    PLApplicationController application;
};

// The application launched on a project of one file, whose window controller it gives.
class LaunchedApplicationTest : public ApplicationTest
{
protected:
    void SetUp() override
    {
        ApplicationTest::SetUp();
        application.applicationDidFinishLaunching({project.write(QStringLiteral("main.tex"), QStringLiteral("Text.\n"))});
        controller = application.documentController()->windowControllers().constFirst();
    }
    PLDocumentWindowController *controller = nullptr;
};

}
