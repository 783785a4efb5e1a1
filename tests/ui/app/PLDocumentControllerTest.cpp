#include "ui/window/PLSideBarViewController.h"
#include "ui/window/PLDocumentOutlineItemModel.h"
#include "PLUiTestSupport.h"

#include <QDateTime>
#include <QFile>

namespace {

class DocumentController : public ::testing::Test
{
protected:
    void SetUp() override { PLTest::resetSettings(); }
    void TearDown() override { PLTest::closeDiscardingChanges(documents); }

    PLDocument *open(const QString &path)
    {
        PLError error;
        PLDocument *document = documents.openDocumentWithContentsOfURL(QUrl::fromLocalFile(path), true, &error);
        EXPECT_NE(document, nullptr) << error.message.toStdString();
        return document;
    }

    PLTest::Project project;
    PLDocumentController documents;
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

    documents.clearRecentDocuments();
    EXPECT_TRUE(documents.recentDocumentURLs().isEmpty());
}

TEST_F(DocumentController, OneWindowPerProjectAndOneFileObjectPerPath)
{
    const QString first = project.write(QStringLiteral("first.tex"), QStringLiteral("\\input{common}\n"));
    const QString second = project.write(QStringLiteral("second.tex"), QStringLiteral("\\input{common}\n"));
    project.write(QStringLiteral("common.tex"), QStringLiteral("\\section{Shared}\n"));

    PLDocument *a = open(first);
    EXPECT_EQ(open(project.path(QStringLiteral("./first.tex"))), a);
    EXPECT_EQ(documents.documents().size(), 1);
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

struct PromptCase
{
    QMessageBox::StandardButton answer;
    bool closes;
    const char *onDisk;
};

class UnsavedChanges : public DocumentController, public ::testing::WithParamInterface<PromptCase>
{
};

TEST_P(UnsavedChanges, ClosingAnEditedProjectAsksFirst)
{
    const QString path = project.write(QStringLiteral("main.tex"), QStringLiteral("Draft.\n"));
    PLDocument *document = open(path);
    PLDocumentWindowController *controller = documents.windowControllerForDocument(document);
    document->mainFile()->contentBuffer()->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("New "));
    EXPECT_TRUE(controller->window()->isWindowModified());

    QString question;
    PLTest::answerNextMessageBox(GetParam().answer, &question);
    EXPECT_EQ(controller->close(), GetParam().closes);
    EXPECT_TRUE(question.contains(QStringLiteral("main.tex")));
    EXPECT_EQ(documents.documents().isEmpty(), GetParam().closes);
    EXPECT_EQ(PLTest::readFile(path), QByteArray(GetParam().onDisk));
}

INSTANTIATE_TEST_SUITE_P(Answers, UnsavedChanges,
                         ::testing::Values(PromptCase{QMessageBox::Cancel, false, "Draft.\n"},
                                           PromptCase{QMessageBox::Discard, true, "Draft.\n"},
                                           PromptCase{QMessageBox::Save, true, "New Draft.\n"}));

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
    PLDocument *document = open(project.write(QStringLiteral("main.tex"), QStringLiteral("\\input{chapter}\n")));
    PLDocumentWindowController *controller = documents.windowControllerForDocument(document);
    PLSplitViewController *editor = controller->splitViewController()->mainAreaViewController()->editorSplitViewController();
    const auto file = document->mainFile()->filesInDocument().constFirst();
    editor->splitViewContentControllerAtIndex(0)->setFile(file);

    project.write(QStringLiteral("chapter.tex"), QStringLiteral("\\section{New}\n"));
    QFile changed(chapter);
    ASSERT_TRUE(changed.open(QIODevice::ReadWrite));
    ASSERT_TRUE(changed.setFileTime(QDateTime::currentDateTime().addSecs(60), QFileDevice::FileModificationTime));
    changed.close();
    QEvent activation(QEvent::WindowActivate);
    QApplication::sendEvent(controller->window(), &activation);

    EXPECT_EQ(file->content(), QStringLiteral("\\section{New}\n"));
    EXPECT_EQ(editor->splitViewContentControllerAtIndex(0)->textContentView()->toPlainText(), QStringLiteral("\\section{New}\n"));
    PLDocumentOutlineItemModel *outline = controller->splitViewController()->sideBarViewController()->dataSource();
    const QModelIndex included = outline->index(0, 0, outline->index(0, 0));
    EXPECT_EQ(outline->index(0, 0, included).data().toString(), QStringLiteral("New"));
}

// Saving wrote over another program's changes without a word. The window asks, naming the file;
// Reload takes the other program's text and writes nothing over it.
TEST_F(DocumentController, SavingOverAFileChangedOnDiskAsksOverwriteReloadOrCancel)
{
    const QString chapter = project.write(QStringLiteral("chapter.tex"), QStringLiteral("mine\n"));
    PLDocument *document = open(project.write(QStringLiteral("main.tex"), QStringLiteral("\\input{chapter}\n")));
    PLDocumentWindowController *controller = documents.windowControllerForDocument(document);
    const auto file = document->mainFile()->filesInDocument().constFirst();
    file->contentBuffer()->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("more "));
    project.write(QStringLiteral("chapter.tex"), QStringLiteral("theirs\n"));

    QString question;
    PLTest::answerNextMessageBox(QMessageBox::Discard, &question);
    EXPECT_TRUE(controller->saveDocument());
    EXPECT_TRUE(question.contains(QStringLiteral("chapter.tex")));
    EXPECT_EQ(file->content(), QStringLiteral("theirs\n"));
    EXPECT_EQ(PLTest::readFile(chapter), QByteArray("theirs\n"));
    EXPECT_FALSE(controller->window()->isWindowModified());
}

TEST_F(DocumentController, SaveAsMovesEveryPaneToTheNewMainFile)
{
    PLDocument *document = open(project.write(QStringLiteral("draft.tex"), QStringLiteral("\\section{Kept}\n")));
    PLDocumentWindowController *controller = documents.windowControllerForDocument(document);
    PLSplitViewController *editor = controller->splitViewController()->mainAreaViewController()->editorSplitViewController();
    editor->splitViewContentControllerAtIndex(0)->splitView(Qt::NoModifier);

    const QString newPath = project.path(QStringLiteral("final.tex"));
    ASSERT_TRUE(document->saveDocumentAs(newPath));
    for (PLSplitViewContentViewController *pane : editor->contentViewControllers())
        EXPECT_EQ(pane->file()->stringPath(), newPath);
    EXPECT_EQ(PLTest::readFile(newPath), QByteArray("\\section{Kept}\n"));
    EXPECT_TRUE(controller->window()->windowTitle().startsWith(QStringLiteral("final.tex")));
}

}
