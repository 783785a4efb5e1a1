#include "ui/window/PLDocumentOutlineItemModel.h"
#include "ui/window/PLDocumentOutlineView.h"
#include "ui/window/PLSideBarViewController.h"
#include "PLUiTestSupport.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <sys/stat.h>

namespace {

class Sidebar : public PLTest::ProjectWindowTest
{
protected:
    // Writes the files, name then text, and opens the project of the first.
    void open(std::initializer_list<std::pair<const char *, const char *>> files)
    {
        for (const auto &[name, text] : files)
            project.write(QString::fromLatin1(name), QString::fromLatin1(text));
        openWindow(project.path(QString::fromLatin1(files.begin()->first)), QSize(1100, 700), false);
        sidebar = windowController->splitViewController()->sideBarViewController();
    }
    PLDocumentOutlineItemModel *model() const { return sidebar->dataSource(); }
    // The rows joined by "|", each indented by depth, with "+" for an expanded row that has children.
    QString rows(const QModelIndex &parent = QModelIndex(), int depth = 0) const
    {
        QStringList lines;
        for (int row = 0; row < model()->rowCount(parent); ++row) {
            const QModelIndex index = model()->index(row, 0, parent);
            const bool open = model()->rowCount(index) > 0 && sidebar->sidebar()->isExpanded(index);
            lines << QString(depth * 2, u' ') + (open ? QStringLiteral("+") : QString()) + index.data().toString();
            if (model()->rowCount(index) > 0)
                lines << rows(index, depth + 1);
        }
        return lines.join(u'|');
    }
    QModelIndex find(const QString &title, const QModelIndex &parent = QModelIndex()) const
    {
        for (int row = 0; row < model()->rowCount(parent); ++row) {
            const QModelIndex index = model()->index(row, 0, parent);
            if (index.data().toString() == title)
                return index;
            if (const QModelIndex found = find(title, index); found.isValid())
                return found;
        }
        return QModelIndex();
    }
    void click(const QString &title)
    {
        PLDocumentOutlineView *view = sidebar->sidebar();
        const QModelIndex index = find(title);
        ASSERT_TRUE(index.isValid()) << title.toStdString();
        view->scrollTo(index);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, view->visualRect(index).center());
    }
    PLSideBarViewController *sidebar = nullptr;
};

TEST_F(Sidebar, ShowsHeadingsIncludedFilesAndOneRowPerBibliography)
{
    open({{"main.tex", "\\part{One}\n\\chapter[Short]{$Intro$\\label{i}}\n\\input{intro}\n\\section{Local}\ntext\n\\bibliography{a,b}\n"},
          {"intro.tex", "\\section{Motivation}\nWhy.\n"}, {"a.bib", "@book{a,}\n"}, {"b.bib", "@book{b,}\n"}});
    EXPECT_EQ(rows(), QStringLiteral("+main.tex|  +One|    +Intro|      +intro.tex|        Motivation|      +Local|        a.bib|        b.bib"));
    const QModelIndex root = find(QStringLiteral("main.tex"));
    EXPECT_TRUE(root.data(PLDocumentOutlineItemModel::IsGroupRole).toBool());
    EXPECT_TRUE(root.data(Qt::DecorationRole).isNull());
    EXPECT_FALSE(find(QStringLiteral("intro.tex")).data(Qt::DecorationRole).isNull());
    EXPECT_FALSE(find(QStringLiteral("a.bib")).data(Qt::DecorationRole).isNull());
    EXPECT_FALSE(find(QStringLiteral("One")).data(PLDocumentOutlineItemModel::IsGroupRole).toBool());
}

// A section with a four-file bibliography has more rows than raw children; asking for the last
// rows used to throw out of the model and abort the application.
TEST_F(Sidebar, ABibliographyWithMoreFilesThanItsLevelHasChildrenShowsEveryFile)
{
    open({{"main.tex", "\\section{R}\n\\bibliography{a,b,c,d}\n"},
          {"a.bib", ""}, {"b.bib", ""}, {"c.bib", ""}, {"d.bib", ""}, {"e.bib", ""}});
    const QString fourFiles = QStringLiteral("+main.tex|  +R|    a.bib|    b.bib|    c.bib|    d.bib");
    EXPECT_EQ(rows(), fourFiles);
    PLTextContentBuffer *buffer = document->mainFile()->contentBuffer();
    const qsizetype closing = buffer->string().lastIndexOf(u'}');
    buffer->replaceCharactersInRange(PLRange{closing, 0}, QStringLiteral(",e"));
    EXPECT_EQ(rows(), fourFiles + QStringLiteral("|    e.bib"));
}

TEST_F(Sidebar, AnIncludeThatIsNoRegularFileShowsGreyedWithTheReason)
{
    ASSERT_EQ(mkfifo(QFile::encodeName(project.path(QStringLiteral("pipe.tex"))).constData(), 0600), 0);
    open({{"main.tex", "\\input{pipe}\n\\input{fine}\n"}, {"fine.tex", "\\section{Fine}\n"}});
    const QModelIndex pipe = find(QStringLiteral("pipe.tex"));
    ASSERT_TRUE(pipe.isValid());
    EXPECT_TRUE(pipe.data(Qt::ToolTipRole).toString().contains(QStringLiteral("not a regular file")));
    EXPECT_TRUE(pipe.data(Qt::ForegroundRole).isValid());
    const QModelIndex fine = find(QStringLiteral("fine.tex"));
    EXPECT_EQ(fine.data(Qt::ToolTipRole).toString(), project.path(QStringLiteral("fine.tex")));
    EXPECT_FALSE(fine.data(Qt::ForegroundRole).isValid());
}

TEST_F(Sidebar, EditsUpdateTheirFileAndLeaveCollapsedRowsElsewhereAlone)
{
    open({{"main.tex", "\\section{Local}\n\\subsection{Deep}\n\\input{intro}\n"}, {"intro.tex", "\\section{Motivation}\nWhy.\n"}});
    const auto intro = document->mainFile()->filesInDocument().constFirst();
    sidebar->sidebar()->collapse(find(QStringLiteral("Deep")));
    PLTextContentBuffer *buffer = intro->contentBuffer();
    buffer->replaceCharactersInRange(PLRange{buffer->string().size(), 0}, QStringLiteral("\\section{Added}\nMore.\n"));
    EXPECT_EQ(rows(), QStringLiteral("+main.tex|  +Local|    Deep|      +intro.tex|        Motivation|        Added"));
    // Typing in the text under a heading leaves every row as it was, so no row is repainted.
    QSignalSpy changed(model(), &QAbstractItemModel::dataChanged);
    QSignalSpy inserted(model(), &QAbstractItemModel::rowsInserted);
    buffer->replaceCharactersInRange(PLRange{buffer->string().indexOf(QStringLiteral("Why")), 0}, QStringLiteral("So "));
    EXPECT_EQ(changed.count() + inserted.count(), 0);
    buffer->replaceCharactersInRange(PLRange{9, 10}, QStringLiteral("Aims"));
    EXPECT_TRUE(find(QStringLiteral("Aims")).isValid());
    EXPECT_FALSE(find(QStringLiteral("Motivation")).isValid());
    EXPECT_FALSE(sidebar->sidebar()->isExpanded(find(QStringLiteral("Deep"))));
}

// Deleting from inside an include across the line end leaves the include in the outline until
// typing pauses; then the outline is the text's and the file leaves the project.
TEST_F(Sidebar, ShowsTheSettledOutlineOnceTypingPauses)
{
    open({{"main.tex", "\\section{S}\nx\n\\input{intro}\ny\n"}, {"intro.tex", "\\section{Motivation}\n"}});
    document->mainFile()->contentBuffer()->replaceCharactersInRange(PLRange{15, 14}, QString());
    EXPECT_TRUE(find(QStringLiteral("intro.tex")).isValid());
    ASSERT_TRUE(QTest::qWaitFor([&] { return rows() == QStringLiteral("+main.tex|  S"); })) << rows().toStdString();
    EXPECT_TRUE(document->mainFile()->filesInDocument().isEmpty());
}

// Qt's model checks report through warnings of their own category; each one fails the test.
void failOnModelCheckWarning(QtMsgType, const QMessageLogContext &context, const QString &message)
{
    if (context.category && qstrcmp(context.category, "qt.modeltest") == 0)
        ADD_FAILURE() << message.toStdString();
}

TEST_F(Sidebar, TheModelKeepsQtsContractThroughEditsReloadAndSaveAs)
{
    open({{"main.tex", "\\chapter{A}\n\\section{Local}\n\\input{intro}\n\\bibliography{a}\n"},
          {"intro.tex", "\\section{Motivation}\n\\subsection{Why}\n"}, {"other.tex", "\\section{Other}\n"}, {"a.bib", "@book{a,}\n"}});
    const QtMessageHandler previous = qInstallMessageHandler(failOnModelCheckWarning);
    // The tester lives as long as the model it watches: save-as replaces the model.
    const auto watch = [this] { new QAbstractItemModelTester(model(), QAbstractItemModelTester::FailureReportingMode::Warning, model()); };
    watch();
    PLTextContentBuffer *main = document->mainFile()->contentBuffer();
    const auto intro = document->mainFile()->filesInDocument().constFirst();
    const auto append = [](PLTextContentBuffer *buffer, const QString &text) {
        buffer->replaceCharactersInRange(PLRange{buffer->length(), 0}, text);
    };
    append(main, QStringLiteral("\\section{Late}\n\\input{other}\n"));
    main->replaceCharactersInRange(PLRange{0, 13}, QString());
    append(intro->contentBuffer(), QStringLiteral("\\section{More}\n"));
    intro->contentBuffer()->replaceCharactersInRange(PLRange{0, 20}, QString());
    main->replaceCharactersInRange(PLRange{main->string().indexOf(QStringLiteral("\\input{other}")), 14}, QString());
    main->undoManager()->undo();
    main->undoManager()->undo();
    // The outline may settle after a pause in typing; the tester watches whatever comes.
    const auto shows = [this](const QString &title) { return QTest::qWaitFor([&] { return find(title).isValid(); }); };
    EXPECT_TRUE(shows(QStringLiteral("More")));
    ASSERT_TRUE(intro->save());
    project.write(QStringLiteral("intro.tex"), QStringLiteral("\\section{Reloaded}\n\\input{other}\n"));
    ASSERT_TRUE(intro->reloadContent());
    EXPECT_TRUE(shows(QStringLiteral("Reloaded")));
    ASSERT_TRUE(document->saveDocumentAs(project.path(QStringLiteral("renamed.tex"))));
    EXPECT_TRUE(find(QStringLiteral("renamed.tex")).isValid());
    watch();
    append(document->mainFile()->contentBuffer(), QStringLiteral("\\chapter{After}\n"));
    EXPECT_TRUE(shows(QStringLiteral("After")));
    qInstallMessageHandler(previous);
}

TEST_F(Sidebar, AClickShowsTheNodeInTheFocusedPane)
{
    open({{"main.tex", "Preamble.\n\\section{Local}\nText.\n\\input{intro}\n"},
          {"intro.tex", "Opening words.\n\\section{Motivation}\nWhy.\n"}});
    click(QStringLiteral("Motivation"));
    ASSERT_EQ(pane()->file()->name(), QStringLiteral("intro.tex"));
    EXPECT_EQ(textView()->selectedRange(), (PLRange{15, 0}));
    click(QStringLiteral("Local"));
    EXPECT_EQ(pane()->file(), document->mainFile());
    EXPECT_EQ(textView()->selectedRange(), (PLRange{10, 0}));
    // Clicking the selected row again goes back to the heading after the caret moved.
    textView()->setSelectedRange(PLRange{0, 0});
    click(QStringLiteral("Local"));
    EXPECT_EQ(textView()->selectedRange(), (PLRange{10, 0}));
}

}
