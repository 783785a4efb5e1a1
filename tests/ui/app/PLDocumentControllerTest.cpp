#include "ui/window/PLSideBarViewController.h"
#include "ui/window/PLDocumentOutlineItemModel.h"
#include "PLUiTestSupport.h"

#include <QDateTime>
#include <QFile>

namespace {

// Projects opened in windows that are not shown; the fixture's own members hold the last one.
class DocumentController : public PLTest::ProjectWindowTest
{
protected:
    PLDocument *open(const QString &path)
    {
        openWindow(path, QSize(900, 500), false);
        return document;
    }
};

TEST_F(DocumentController, RecentProjectsAreMostRecentFirstWithoutRepeatsAndBounded)
{
    for (int number = 0; number < 12; ++number)
        documents.noteNewRecentDocumentURL(QUrl::fromLocalFile(QStringLiteral("/p/%1.tex").arg(number)));
    documents.noteNewRecentDocumentURL(QUrl::fromLocalFile(QStringLiteral("/p/5.tex")));
    const QList<QUrl> recent = documents.recentDocumentURLs();
    ASSERT_EQ(recent.size(), PLDocumentController::maximumRecentDocumentCount);
    EXPECT_EQ(recent.at(0).toLocalFile(), QStringLiteral("/p/5.tex"));
    EXPECT_EQ(recent.at(1).toLocalFile(), QStringLiteral("/p/11.tex"));
    EXPECT_EQ(recent.count(QUrl::fromLocalFile(QStringLiteral("/p/5.tex"))), 1);
}

TEST_F(DocumentController, OneWindowPerProjectAndOneFileObjectPerPath)
{
    const QString first = project.write(QStringLiteral("first.tex"), QStringLiteral("\\input{common}\n"));
    const QString second = project.write(QStringLiteral("second.tex"), QStringLiteral("\\input{common}\n"));
    project.write(QStringLiteral("common.tex"), QStringLiteral("\\section{Shared}\n"));
    PLDocument *a = open(first);
    EXPECT_EQ(open(project.path(QStringLiteral("./first.tex"))), a);
    EXPECT_EQ(documents.recentDocumentURLs().constFirst().toLocalFile(), first);
    PLDocument *b = open(second);
    ASSERT_NE(b, a);
    const auto commonOfA = a->mainFile()->filesInDocument().constFirst();
    const auto commonOfB = b->mainFile()->filesInDocument().constFirst();
    EXPECT_EQ(commonOfA, commonOfB);
    EXPECT_EQ(commonOfA->openCount(), 2u);
    // Closing one project leaves the other's file intact.
    documents.windowControllerForDocument(a)->close();
    EXPECT_EQ(commonOfB->openCount(), 1u);
    EXPECT_EQ(commonOfB->content(), QStringLiteral("\\section{Shared}\n"));
}

// The answer, whether the window closes and what the file then holds.
using UnsavedChanges = PLTest::WithParam<DocumentController, std::tuple<QMessageBox::StandardButton, bool, const char *>>;

TEST_P(UnsavedChanges, ClosingAnEditedProjectAsksFirst)
{
    const auto [answer, closes, onDisk] = GetParam();
    const QString path = project.write(QStringLiteral("main.tex"), QStringLiteral("Draft.\n"));
    open(path)->mainFile()->contentBuffer()->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("New "));
    EXPECT_TRUE(window->isWindowModified());
    QString question;
    PLTest::answerNextMessageBox(answer, &question);
    EXPECT_EQ(windowController->close(), closes);
    EXPECT_TRUE(question.contains(QStringLiteral("main.tex")));
    EXPECT_EQ(documents.documents().isEmpty(), closes);
    EXPECT_EQ(PLTest::readFile(path), QByteArray(onDisk));
}

INSTANTIATE_TEST_SUITE_P(Answers, UnsavedChanges,
                         ::testing::Values(std::tuple{QMessageBox::Cancel, false, "Draft.\n"},
                                           std::tuple{QMessageBox::Discard, true, "Draft.\n"},
                                           std::tuple{QMessageBox::Save, true, "New Draft.\n"}));

TEST_F(DocumentController, QuittingStopsAtTheFirstProjectTheUserKeeps)
{
    open(project.write(QStringLiteral("clean.tex"), QStringLiteral("a")));
    PLDocument *edited = open(project.write(QStringLiteral("edited.tex"), QStringLiteral("b")));
    edited->mainFile()->contentBuffer()->replaceCharactersInRange(PLRange{1, 0}, QStringLiteral("c"));
    PLTest::answerNextMessageBox(QMessageBox::Cancel);
    EXPECT_FALSE(documents.closeAllDocuments());
    EXPECT_EQ(documents.documents(), QList<PLDocument *>{edited});
}

TEST_F(DocumentController, FilesChangedOnDiskAreReadAgainWhenTheWindowBecomesActive)
{
    const QString chapter = project.write(QStringLiteral("chapter.tex"), QStringLiteral("\\section{Old}\n"));
    open(project.write(QStringLiteral("main.tex"), QStringLiteral("\\input{chapter}\n")));
    const auto file = document->mainFile()->filesInDocument().constFirst();
    pane()->setFile(file);
    project.write(QStringLiteral("chapter.tex"), QStringLiteral("\\section{New}\n"));
    QFile changed(chapter);
    ASSERT_TRUE(changed.open(QIODevice::ReadWrite));
    ASSERT_TRUE(changed.setFileTime(QDateTime::currentDateTime().addSecs(60), QFileDevice::FileModificationTime));
    changed.close();
    QEvent activation(QEvent::WindowActivate);
    QApplication::sendEvent(window, &activation);
    EXPECT_EQ(file->content(), QStringLiteral("\\section{New}\n"));
    EXPECT_EQ(textView()->toPlainText(), QStringLiteral("\\section{New}\n"));
    PLDocumentOutlineItemModel *outline = windowController->splitViewController()->sideBarViewController()->dataSource();
    const QModelIndex included = outline->index(0, 0, outline->index(0, 0));
    EXPECT_EQ(outline->index(0, 0, included).data().toString(), QStringLiteral("New"));
}

// Saving wrote over another program's changes without a word. The window asks, naming the file;
// Reload takes the other program's text and writes nothing over it.
TEST_F(DocumentController, SavingOverAFileChangedOnDiskAsksOverwriteReloadOrCancel)
{
    const QString chapter = project.write(QStringLiteral("chapter.tex"), QStringLiteral("mine\n"));
    open(project.write(QStringLiteral("main.tex"), QStringLiteral("\\input{chapter}\n")));
    const auto file = document->mainFile()->filesInDocument().constFirst();
    file->contentBuffer()->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("more "));
    project.write(QStringLiteral("chapter.tex"), QStringLiteral("theirs\n"));
    QString question;
    PLTest::answerNextMessageBox(QMessageBox::Discard, &question);
    EXPECT_TRUE(windowController->saveDocument());
    EXPECT_TRUE(question.contains(QStringLiteral("chapter.tex")));
    EXPECT_EQ(file->content(), QStringLiteral("theirs\n"));
    EXPECT_EQ(PLTest::readFile(chapter), QByteArray("theirs\n"));
    EXPECT_FALSE(window->isWindowModified());
}

TEST_F(DocumentController, SaveAsMovesEveryPaneToTheNewMainFile)
{
    open(project.write(QStringLiteral("draft.tex"), QStringLiteral("\\section{Kept}\n")));
    pane()->splitView(Qt::NoModifier);
    const QString newPath = project.path(QStringLiteral("final.tex"));
    ASSERT_TRUE(document->saveDocumentAs(newPath));
    for (PLSplitViewContentViewController *pane : editor->contentViewControllers())
        EXPECT_EQ(pane->file()->stringPath(), newPath);
    EXPECT_EQ(PLTest::readFile(newPath), QByteArray("\\section{Kept}\n"));
}

}
