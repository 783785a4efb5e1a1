#pragma once

#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "PLUiTestSupport.h"
#include "ui/editor/PLTextView.h"
#include "ui/editor/PLTextViewDelegate.h"
#include "core/project/PLTextViewHistoryHandler.h"

#include <QDir>
#include <QHBoxLayout>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace PLTest {

// Editor text views on files of a temporary folder, shown side by side in one active window,
// each with a delegate of its own that feeds one navigation history.
class EditorTest : public ::testing::Test
{
protected:
    std::shared_ptr<PLFile> open(const QString &text, const QString &name = QStringLiteral("chapter.tex"))
    {
        const QString path = QDir(folder.path()).filePath(name);
        writeFile(path, text.toUtf8());
        auto file = PLFile::fileWithPath(path, std::make_shared<PLLatexFileContentOutlineParser>());
        files.push_back(file);
        return file;
    }
    void write(const QString &name, const QString &text) { writeFile(QDir(folder.path()).filePath(name), text.toUtf8()); }
    PLTextView *makeView(const std::shared_ptr<PLFile> &file, bool withDelegate = true)
    {
        auto *view = new PLTextView(file);
        if (withDelegate)
            view->setDelegate(new PLTextViewDelegate(file, nullptr, &history, view));
        return view;
    }
    // One view with a delegate on a new file of the text, shown and focused.
    PLTextView *showText(const QString &text, QSize size = QSize(800, 400))
    {
        PLTextView *view = makeView(open(text));
        show({view}, size);
        return view;
    }
    // Shows the views in the window, the first one focused.
    void show(std::initializer_list<PLTextView *> views, QSize size = QSize(800, 400))
    {
        window.resize(size);
        auto *layout = new QHBoxLayout(&window);
        layout->setContentsMargins(0, 0, 0, 0);
        for (PLTextView *view : views)
            layout->addWidget(view);
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        (*views.begin())->setFocus();
        QCoreApplication::processEvents();
    }
    // The view's own text, its blocks joined by paragraph separators.
    static QString mirrorOf(const PLTextView &view)
    {
        QString text;
        for (QTextBlock block = view.document()->begin(); block.isValid(); block = block.next())
            text += block.text() + (block.next().isValid() ? QStringLiteral("\u2029") : QString());
        return text;
    }
    void TearDown() override
    {
        for (const auto &file : files)
            file->close();
    }
    QTemporaryDir folder;
    std::vector<std::shared_ptr<PLFile>> files;
    PLTextViewHistoryHandler history;
    // Last, so the views go before the history their delegates feed.
    QWidget window;
};

}
