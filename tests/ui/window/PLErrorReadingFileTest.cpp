#include "ui/window/AttachedWindow.h"
#include "ui/window/PLErrorReadingFileContentViewController.h"
#include "core/latex/PLOutlineNode.h"
#include "PLUiTestSupport.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

namespace {

const QString latin1Text = QStringLiteral("\\section{Café}\nÀ bientôt, Jürgen.\n");

QStringList outlineNames(const PLFile &file)
{
    QStringList names;
    for (const auto &child : file.outlineRootNode()->children())
        names << child->name();
    return names;
}

// A project whose main file is Latin 1, opened with the settings' UTF-8 and shown in a window.
class ErrorReadingFileNotice : public PLTest::ProjectWindowTest
{
protected:
    void SetUp() override
    {
        ProjectWindowTest::SetUp();
        mainPath = project.path(QStringLiteral("main.tex"));
        PLTest::writeFile(mainPath, latin1Text.toLatin1());
        openWindow(mainPath);
    }
    PLErrorReadingFileContentViewController *notice(int index = 0) const
    {
        return pane(index)->errorReadingFileContentViewController();
    }
    bool noticeShown(int index = 0) const { return notice(index)->view()->isVisible(); }
    void reOpenAs(const QString &encodingName, int index = 0)
    {
        PLErrorReadingFileContentViewController *shown = notice(index);
        QTest::mouseClick(shown->moreInfoButton(), Qt::LeftButton);
        ASSERT_TRUE(shown->attachedWindow() && shown->attachedWindow()->isVisible());
        shown->encodingComboBox()->setCurrentIndex(shown->encodingComboBox()->findText(encodingName));
        shown->reOpenButton()->click();
    }
    QString mainPath;
};

TEST_F(ErrorReadingFileNotice, ReOpeningAsLatin1FixesTheTextInEveryPaneAndRemovesTheNotice)
{
    ASSERT_TRUE(noticeShown());
    const QString message = notice()->messageLabel()->text();
    EXPECT_TRUE(message.contains(QStringLiteral("not valid UTF-8")) && message.contains(QStringLiteral("Mac OS Roman")))
        << message.toStdString();
    // The notice sits between the title bar and the text.
    EXPECT_LT(notice()->view()->geometry().bottom(), textView(0)->mapTo(pane(0)->view(), QPoint()).y());
    editor->splitViewContentControllerShouldSplit(pane(0));
    ASSERT_EQ(editor->splitViewCount(), 2);
    EXPECT_TRUE(noticeShown(1));
    EXPECT_FALSE(outlineNames(*document->mainFile()).contains(QStringLiteral("Café")));
    reOpenAs(QStringLiteral("Latin 1"));
    EXPECT_EQ(document->mainFile()->encoding(), PLStringEncodings::ISOLatin1);
    for (int index : {0, 1}) {
        EXPECT_FALSE(noticeShown(index)) << index;
        EXPECT_EQ(textView(index)->toPlainText(), latin1Text) << index;
    }
    EXPECT_EQ(notice()->attachedWindow(), nullptr);
    EXPECT_TRUE(outlineNames(*document->mainFile()).contains(QStringLiteral("Café")));
}

// A file that still fails keeps the notice and closes the popup. Re-opening an edited file asks
// first, and Cancel keeps the edits.
TEST_F(ErrorReadingFileNotice, AFailedOrCancelledReOpenKeepsTheNoticeAndTheText)
{
    reOpenAs(QStringLiteral("UTF8"));
    EXPECT_TRUE(noticeShown());
    EXPECT_EQ(notice()->attachedWindow(), nullptr);
    EXPECT_FALSE(notice()->moreInfoButton()->isChecked());
    EXPECT_FALSE(document->mainFile()->wasContentReadProperly());
    textView(0)->insertText(QStringLiteral("typed "), PLRange{0, 0});
    const QString edited = textView(0)->contentBuffer()->string();
    PLTest::answerNextMessageBox(QMessageBox::Cancel);
    reOpenAs(QStringLiteral("Latin 1"));
    EXPECT_EQ(textView(0)->contentBuffer()->string(), edited);
    EXPECT_TRUE(noticeShown());
}

TEST_F(ErrorReadingFileNotice, ThePopupPointsAtTheMoreInfoButtonWhileTheWindowResizes)
{
    PLErrorReadingFileContentViewController *shown = notice();
    QTest::mouseClick(shown->moreInfoButton(), Qt::LeftButton);
    ASSERT_NE(shown->attachedWindow(), nullptr);
    const auto buttonCentre = [shown] {
        return shown->moreInfoButton()->mapTo(shown->moreInfoButton()->window(), shown->moreInfoButton()->rect().center());
    };
    EXPECT_EQ(shown->attachedWindow()->point(), buttonCentre());
    const QPoint before = buttonCentre();
    window->resize(1200, 600);
    ASSERT_TRUE(QTest::qWaitFor([&] { return buttonCentre() != before; }));
    EXPECT_EQ(shown->attachedWindow()->point(), buttonCentre());
    // The box stays inside the window.
    EXPECT_LE(shown->attachedWindow()->geometry().right(), window->width());
    QTest::mouseClick(shown->moreInfoButton(), Qt::LeftButton);
    EXPECT_EQ(shown->attachedWindow(), nullptr);
}

}
