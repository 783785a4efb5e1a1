#include "core/editor/PLLatexSyntaxHighlighterDelegate.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "core/editor/PLTextAttributes.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/project/PLTextViewHistoryHandler.h"
#include "ui/editor/PLLineEndingMap.h"
#include "ui/editor/PLLineNumbersRulerView.h"
#include "ui/editor/PLQColor.h"
#include "ui/editor/PLSpellChecker.h"
#include "ui/editor/PLTextViewDelegate.h"
#include "ui/editor/PLTextViewLineOverlayView.h"
#include "ui/editor/PLTextViewSpellChecker.h"
#include "PLUiTestSupport.h"

#include <QInputMethodEvent>
#include <QMimeData>
#include <QPaintEvent>
#include <QToolTip>
#include <QScrollBar>
#include <QClipboard>
#include <QHBoxLayout>

#include <cmath>
#include <numeric>
#include <random>
#include <utility>

#include <gtest/gtest.h>

namespace {

// Editor text views on files of a temporary folder, shown side by side in one active window,
// each with a delegate of its own that feeds one navigation history.
class EditorTest : public ::testing::Test
{
protected:
    std::shared_ptr<PLFile> open(const QString &text, const QString &name = QStringLiteral("chapter.tex"))
    {
        const QString path = QDir(folder.path()).filePath(name);
        PLTest::writeFile(path, text.toUtf8());
        auto file = PLFile::fileWithPath(path, std::make_shared<PLLatexFileContentOutlineParser>());
        files.push_back(file);
        return file;
    }
    void write(const QString &name, const QString &text) { PLTest::writeFile(QDir(folder.path()).filePath(name), text.toUtf8()); }
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
    QTemporaryDir folder;
    PLTest::OpenedFiles files;
    PLTextViewHistoryHandler history;
    // Last, so the views go before the history their delegates feed.
    QWidget window;
};

// The same text coloured the plain way, all at once, as the reference for background colouring.
class ReferenceText : public PLTextStorage
{
public:
    explicit ReferenceText(const QString &text)
        : PLTextStorage(text.size()), m_text(text), m_highlighter(this, std::make_unique<PLLatexSyntaxHighlighterDelegate>())
    {
    }
    const QString &string() const override { return m_text; }
    void colourWhole() { m_highlighter.highlightTextInRange(PLRange{0, m_text.size()}); }
    void replace(PLRange range, const QString &text)
    {
        m_text.replace(range.location, range.length, text);
        edited(range, text.size() - range.length);
    }

private:
    QString m_text;
    PLSyntaxHighlighter m_highlighter;
};

using Runs = std::vector<std::pair<PLRange, PLTextAttributes>>;

Runs storedRuns(const PLTextStorage &text, PLRange range)
{
    Runs runs;
    text.storedAttributeRuns().enumerateAttributes(range, [&](const PLTextAttributes &attributes, PLRange run) {
        runs.emplace_back(run, attributes);
    });
    return runs;
}

// The region each watched widget painted.
class PaintRecorder : public QObject
{
public:
    explicit PaintRecorder(std::initializer_list<QWidget *> widgets)
    {
        for (QWidget *widget : widgets)
            widget->installEventFilter(this);
    }
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            painted[watched] += static_cast<QPaintEvent *>(event)->region();
        return false;
    }
    QHash<QObject *, QRegion> painted;
};

class TextView : public EditorTest
{
protected:
    void open(const QByteArray &bytes) { file = EditorTest::open(QString::fromUtf8(bytes)); }
    std::shared_ptr<PLFile> file;
};

// Cut, paste and committed input reach the buffer through the random edits; here what only a
// composing input method or a drop from another application does.
TEST_F(TextView, ComposingLeavesTheBufferAloneAndDroppedTextLandsWhereDropped)
{
    open("beta");
    auto *view = new PLTextView(file);
    auto *other = new PLTextView(file);
    show({view, other});
    view->setSelectedRange(PLRange{4, 0});
    QInputMethodEvent compose(QStringLiteral("´"), {});
    QApplication::sendEvent(view, &compose);
    EXPECT_EQ(file->contentBuffer()->string(), QStringLiteral("beta"));
    QInputMethodEvent commit;
    commit.setCommitString(QStringLiteral("é"));
    QApplication::sendEvent(view, &commit);
    QMimeData dragged;
    dragged.setText(QStringLiteral("delta "));
    const QPoint start = view->cursorRect(QTextCursor(view->document())).center();
    QDragEnterEvent enter(start, Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view->viewport(), &enter);
    QDropEvent drop(start, Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view->viewport(), &drop);
    EXPECT_EQ(file->contentBuffer()->string(), QStringLiteral("delta betaé"));
    for (const PLTextView *shown : {view, other})
        EXPECT_EQ(mirrorOf(*shown), QStringLiteral("delta betaé"));
    // One undo step per edit, kept by the buffer alone.
    EXPECT_EQ(file->contentBuffer()->undoManager()->count(), 2);
    EXPECT_FALSE(view->document()->isUndoAvailable());
}

QColor bufferColour(const PLFile &file, qsizetype location)
{
    const auto colour = file.contentBuffer()->attributesAtIndex(location).foregroundColor();
    return colour ? PLQColor(*colour) : QColor();
}

// A key press repaints the typed line where it is shown, in its new colours (past CR LF pairs),
// and nothing in a pane scrolled elsewhere, which still takes the colours; scrolling that pane
// there left its selection alone.
TEST_F(TextView, TypingRepaintsTheTypedLineOnly)
{
    // A dictionary arriving mid-test would have both panes look at their words again.
    PLSpellChecker::sharedSpellChecker().waitUntilReady();
    QByteArray text;
    for (int i = 0; i < 300; ++i)
        text += "line " + QByteArray::number(i) + " \\emph{word}\r\n";
    open(text);
    auto *view = new PLTextView(file);
    auto *other = new PLTextView(file);
    show({view, other});
    other->scrollRangeToVisible(PLRange{text.indexOf("line 250 "), 0});
    EXPECT_EQ(other->selectedRange(), (PLRange{0, 0}));
    EXPECT_GT(other->cursorForPosition(QPoint(0, 0)).blockNumber(), 200);
    const qsizetype typed = text.indexOf("line 5 ");
    view->setSelectedRange(PLRange{typed, 0});
    for (PLTextView *pane : {view, other})
        pane->spellChecker()->checkVisibleText();
    QCoreApplication::processEvents();
    PaintRecorder recorder({view->viewport(), other->viewport()});
    QTest::keyClicks(view, QStringLiteral("\\"));
    QCoreApplication::processEvents();
    const QRect row = view->cursorRect();
    const QRect painted = recorder.painted.value(view->viewport()).boundingRect();
    EXPECT_TRUE(painted.intersects(row));
    EXPECT_LE(painted.height(), 3 * row.height());
    EXPECT_TRUE(recorder.painted.value(other->viewport()).isEmpty());
    for (const PLTextView *shown : {view, other})
        EXPECT_EQ(PLTest::shownColour(*shown, typed), bufferColour(*file, typed));
    EXPECT_NE(bufferColour(*file, typed), bufferColour(*file, 0));
}

TEST_F(TextView, ALongTextIsColouredOnScreenFirstAndTheRestWhileIdle)
{
    QString text;
    for (int i = 0; i < 2000; ++i)
        text += QStringLiteral("\\emph{w%1} $x_%1$ [a] %% note\n").arg(i);
    file = EditorTest::open(text);
    PLTextContentBuffer *buffer = file->contentBuffer();
    PLSyntaxHighlighter *highlighter = buffer->syntaxHighlighter();
    auto *view = new PLTextView(file);
    EXPECT_TRUE(highlighter->hasPendingColouring());
    show({view});
    ASSERT_TRUE(QTest::qWaitFor([&] { return !highlighter->hasPendingColouring(); }, 60000));
    ReferenceText reference(text);
    reference.colourWhole();
    EXPECT_EQ(storedRuns(*buffer, PLRange{0, text.size()}), storedRuns(reference, PLRange{0, text.size()}));
    // A colour change: the screen's lines take it at once, the rest waits for the event loop.
    PLUserDefaults::standardUserDefaults().setColor(PLColor::rgb(0.9, 0.1, 0.1, 1.0), PLUserDefaultsEditorColorFunctions);
    highlighter->userDefaultsDidChangeEditorTextColor();
    reference.colourWhole();
    const PLRange top{0, text.indexOf(u'\n') + 1};
    const PLRange bottom{text.lastIndexOf(u'\n', text.size() - 2) + 1, top.length};
    EXPECT_TRUE(highlighter->hasPendingColouring());
    EXPECT_EQ(storedRuns(*buffer, top), storedRuns(reference, top));
    EXPECT_NE(storedRuns(*buffer, bottom), storedRuns(reference, bottom));
    // An edit before the slices are done moves what is left to colour along with the text.
    const PLRange edit{text.size() / 2, 0};
    buffer->replaceCharactersInRange(edit, QStringLiteral("zz"));
    reference.replace(edit, QStringLiteral("zz"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !highlighter->hasPendingColouring(); }, 60000));
    const PLRange whole{0, reference.string().size()};
    EXPECT_EQ(storedRuns(*buffer, whole), storedRuns(reference, whole));
}

// The mirror position of every text position, counted the slow way.
qsizetype slowMirrorPosition(const QString &text, qsizetype location)
{
    qsizetype mirror = 0;
    for (qsizetype index = 0; index < location; ++index) {
        const bool lfOfPair = text.at(index) == u'\n' && index > 0 && text.at(index - 1) == u'\r';
        if (!lfOfPair)
            ++mirror;
    }
    // Between the CR and the LF of a pair counts as after the pair.
    return mirror;
}

void expectMapsLike(const PLLineEndingMap &map, const QString &text)
{
    for (qsizetype location = 0; location <= text.size(); ++location) {
        const bool insidePair = location > 0 && location < text.size() && text.at(location - 1) == u'\r' && text.at(location) == u'\n';
        const qsizetype mirror = map.toMirror(location);
        EXPECT_EQ(mirror, slowMirrorPosition(text, location + (insidePair ? 1 : 0))) << "text position " << location;
        if (!insidePair) {
            EXPECT_EQ(map.toText(mirror), location) << "mirror position " << mirror;
        }
    }
    EXPECT_EQ(map.toMirror(text.size()), PLLineEndingMap::mirrorString(text).size());
}

TEST(LineEndingMap, MapsBothWaysAroundEveryKindOfLineBreak)
{
    const QString text = QStringLiteral("a\r\nbc\rd\n\r\n\r\ne\u2029f\r");
    PLLineEndingMap map;
    map.reset(text);
    expectMapsLike(map, text);
    EXPECT_EQ(PLLineEndingMap::mirrorString(text), QStringLiteral("a\u2029bc\u2029d\u2029\u2029\u2029e\u2029f\u2029"));
}

// Each edit's map agrees with a map made from the edited text.
TEST(LineEndingMap, UpdatesLikeAMapMadeFromTheEditedText)
{
    const std::tuple<const char *, qsizetype, qsizetype, const char *> edits[] = {
        {"a\r\nb\r\nc", 1, 0, "x"},       // typing before a pair
        {"a\r\nb\r\nc", 3, 0, "x"},       // typing after a pair shifts the later one
        {"a\r\nb\r\nc", 1, 2, ""},        // joining two lines removes the pair
        {"a\r\nb", 2, 1, ""},             // the LF of a pair alone: a lone CR stays
        {"a\r\nb", 1, 1, ""},             // the CR of a pair alone: a lone LF stays
        {"a\rb", 2, 0, "\n"},             // an LF after a lone CR makes a pair
        {"a\nb", 1, 0, "\r"},             // a CR before a lone LF makes a pair
        {"a\r\nb", 2, 0, "x"},            // typing between CR and LF splits the pair
        {"ab", 1, 0, "\r\n\r\n"},         // pasting Windows lines
        {"a\r\nb\r\nc\r\nd", 2, 5, "\n"}};
    for (const auto &[before, location, length, replacement] : edits) {
        SCOPED_TRACE(before);
        QString text = QString::fromLatin1(before);
        PLLineEndingMap map;
        map.reset(text);
        text.replace(location, length, QString::fromLatin1(replacement));
        map.update(text, location, length, qstrlen(replacement));
        expectMapsLike(map, text);
    }
}

class Band : public EditorTest
{
protected:
    void SetUp() override { PLTest::resetSettings(); }
    // The row of the character at the location, in the viewport.
    static QRect rowOf(PLTextView *view, qsizetype location)
    {
        QTextCursor cursor(view->document());
        cursor.setPosition(int(view->mirrorPosition(location)));
        const QRect caret = view->cursorRect(cursor);
        return QRect(0, caret.top(), view->viewport()->width(), caret.height());
    }
};

// The band covers the caret's row as the caret moves, the view resizes or scrolls, stays on a last
// line that has text with the caret at its very end, and lets clicks through to the text.
TEST_F(Band, CoversTheRowOfTheCaretWhereverTheViewScrollsAndLetsClicksThrough)
{
    QString text = QStringLiteral("first\nsecond\n");
    for (int i = 0; i < 200; ++i)
        text += QStringLiteral("line %1\n").arg(i);
    PLTextView *view = showText(text + QStringLiteral("last"));
    PLTextViewLineOverlayView *band = view->lineHightlightView();
    ASSERT_NE(band, nullptr);
    view->setSelectedRange(PLRange{8, 0});
    EXPECT_EQ(band->geometry(), rowOf(view, 8));
    QTest::keyClick(view, Qt::Key_Down);
    EXPECT_EQ(band->geometry(), rowOf(view, 15));
    QTextCursor cursor(view->document());
    cursor.setPosition(15);
    const QPoint onBand(view->cursorRect(cursor).center().x(), band->geometry().center().y());
    ASSERT_EQ(view->viewport()->childAt(onBand), nullptr);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, onBand);
    EXPECT_EQ(view->selectedRange(), (PLRange{15, 0}));
    window.resize(600, 300);
    QCoreApplication::processEvents();
    EXPECT_EQ(band->width(), view->viewport()->width());
    view->setSelectedRange(PLRange{text.size() + 4, 0});
    EXPECT_EQ(band->geometry(), rowOf(view, text.size() + 3));
    view->scrollRangeToVisible(PLRange{text.indexOf(QStringLiteral("line 150")), 0});
    QCoreApplication::processEvents();
    EXPECT_EQ(band->geometry(), rowOf(view, text.size() + 3));
}

TEST_F(Band, IsDrawnAtOneFifthOpacityInTheColoursOfTheSettingsAndFollowsThem)
{
    PLTextView *view = showText(QStringLiteral("x\n\n"));
    view->setSelectedRange(PLRange{2, 0});
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    defaults.setColor(PLColor::rgb(0, 0, 1, 1), PLUserDefaultsEditorBackgroundColor);
    defaults.setColor(PLColor::rgb(1, 0, 0, 1), PLUserDefaultsEditorColorLineHighlighter);
    defaults.setColor(PLColor::rgb(0, 1, 0, 1), PLUserDefaultsEditorColorLineHighlighterBorders);
    view->applyEditorBackgroundColor();
    PLNotificationCenter::defaultCenter().post(PLNotificationEditorLineHighlightColorDidChange);
    PLTextViewLineOverlayView *band = view->lineHightlightView();
    const QImage image = view->viewport()->grab().toImage();
    const QRect frame = band->geometry();
    const QColor middle = image.pixelColor(frame.center().x(), frame.center().y());
    const QColor edge = image.pixelColor(frame.center().x(), frame.top());
    // One fifth red over the blue background, and one fifth green at the border.
    EXPECT_NEAR(middle.redF(), 0.2, 0.02);
    EXPECT_NEAR(middle.blueF(), 0.8, 0.02);
    EXPECT_NEAR(edge.greenF(), 0.2, 0.02);
    EXPECT_NEAR(edge.redF(), 0.0, 0.02);
}

using TextViewFormatting = PLTest::WithParam<EditorTest, std::pair<PLAction, const char *>>;

TEST_P(TextViewFormatting, WrapsTheSelectionOrPutsTheCaretBetweenEmptyBraces)
{
    PLTextView *view = showText(QStringLiteral("say word now"));
    const auto [action, name] = GetParam();
    const QString command = QString::fromLatin1(name);
    view->setSelectedRange(PLRange{4, 4});
    ASSERT_TRUE(PLResponderChain::sendAction(&window, action, nullptr));
    EXPECT_EQ(view->contentBuffer()->string(), QStringLiteral("say %1{word} now").arg(command));
    const PLRange afterWord{4 + command.size() + 6, 0};
    EXPECT_EQ((std::pair{view->selectedRange(), view->file()->selectedRange()}), (std::pair{afterWord, afterWord}));
    view->setSelectedRange(PLRange{0, 0});
    ASSERT_TRUE(PLResponderChain::sendAction(&window, action, nullptr));
    EXPECT_EQ(view->contentBuffer()->string(), QStringLiteral("%1{}say %1{word} now").arg(command));
    EXPECT_EQ(view->selectedRange(), (PLRange{command.size() + 1, 0}));
    // Typing goes between the braces; applying the command again nests it.
    QTest::keyClicks(view, QStringLiteral("x"));
    view->setSelectedRange(PLRange{command.size() + 1, 1});
    ASSERT_TRUE(PLResponderChain::sendAction(&window, action, nullptr));
    EXPECT_TRUE(view->contentBuffer()->string().startsWith(QStringLiteral("%1{%1{x}}").arg(command)));
}

INSTANTIATE_TEST_SUITE_P(Commands, TextViewFormatting,
                         ::testing::Values(std::pair{PLAction::ToggleBold, "\\textbf"}, std::pair{PLAction::ToggleItalic, "\\textit"},
                                           std::pair{PLAction::ToggleUnderline, "\\underline"}));

// Stands for the comment command in the table below.
constexpr Qt::Key kToggleComment = Qt::Key_unknown;

// A text, the selection, the key, the text after it and the selection then. A typed pair puts the
// caret inside it; the comment command toggles each line by itself and keeps the selection on the
// same lines (a caret at the start of a line moves with its text); Tab and Shift+Tab shift the
// selected lines.
using TextViewKeys = PLTest::WithParam<EditorTest, std::tuple<const char *, PLRange, Qt::Key, const char *, PLRange>>;

TEST_P(TextViewKeys, EditTheSelectedLinesInOneUndoStepAndLeaveTheCaretWhereTheArrowsWork)
{
    const auto [before, selection, key, after, selectionAfter] = GetParam();
    const QString text = QString::fromLatin1(before);
    PLTextView *view = showText(text);
    view->setSelectedRange(selection);
    if (key == kToggleComment)
        ASSERT_TRUE(PLResponderChain::sendAction(&window, PLAction::ToggleCommentOfCurrentLine, nullptr));
    else
        QTest::keyClick(view, key, key == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier);
    EXPECT_EQ(view->contentBuffer()->string(), QString::fromLatin1(after));
    // The file keeps the place too, for a pane that shows it later.
    EXPECT_EQ((std::pair{view->selectedRange(), view->file()->selectedRange()}), (std::pair{selectionAfter, selectionAfter}));
    if (selectionAfter.length == 0 && selectionAfter.location < view->contentBuffer()->length()) {
        QTest::keyClick(view, Qt::Key_Right);
        EXPECT_EQ(view->selectedRange(), (PLRange{selectionAfter.location + 1, 0}));
    }
    // A key that changed nothing leaves no empty step to undo.
    PLUndoManager *history = view->contentBuffer()->undoManager();
    EXPECT_EQ(history->count(), text == QString::fromLatin1(after) ? 0 : 1);
    history->undo();
    EXPECT_EQ(view->contentBuffer()->string(), text);
}

INSTANTIATE_TEST_SUITE_P(Edits, TextViewKeys,
                         ::testing::Values(std::tuple{"ab", PLRange{1, 0}, Qt::Key_ParenLeft, "a()b", PLRange{2, 0}},
                                           std::tuple{"ab", PLRange{1, 0}, Qt::Key_QuoteDbl, "a``\"b", PLRange{3, 0}},
                                           std::tuple{"ab", PLRange{1, 0}, Qt::Key_ParenRight, "a)b", PLRange{2, 0}},
                                           std::tuple{"a\n  %b\nc\n", PLRange{1, 7}, kToggleComment, "%a\n  b\n%c\n", PLRange{2, 7}},
                                           std::tuple{"%%x", PLRange{1, 0}, kToggleComment, "%x", PLRange{0, 0}},
                                           std::tuple{"a\n\nb", PLRange{2, 0}, kToggleComment, "a\n%\nb", PLRange{3, 0}},
                                           std::tuple{"a\n", PLRange{2, 0}, kToggleComment, "a\n%", PLRange{3, 0}},
                                           std::tuple{"\t\\item x", PLRange{3, 0}, kToggleComment, "%\t\\item x", PLRange{4, 0}},
                                           std::tuple{"a\nb\nc", PLRange{0, 2}, kToggleComment, "%a\nb\nc", PLRange{0, 3}},
                                           std::tuple{"a\r\n%b\r\nc", PLRange{0, 8}, kToggleComment, "%a\r\nb\r\n%c", PLRange{0, 9}},
                                           std::tuple{"a\nb\nc", PLRange{0, 3}, Qt::Key_Tab, "\ta\n\tb\nc", PLRange{0, 5}},
                                           std::tuple{"ab\ncd", PLRange{1, 3}, Qt::Key_Tab, "\tab\n\tcd", PLRange{2, 4}},
                                           std::tuple{"a\nb\nc", PLRange{0, 4}, Qt::Key_Tab, "\ta\n\tb\nc", PLRange{0, 6}},
                                           std::tuple{"a\n\nb", PLRange{0, 4}, Qt::Key_Tab, "\ta\n\n\tb", PLRange{0, 6}},
                                           std::tuple{"a\r\nb\r\nc", PLRange{0, 4}, Qt::Key_Tab, "\ta\r\n\tb\r\nc", PLRange{0, 6}},
                                           std::tuple{"ab\nc", PLRange{0, 1}, Qt::Key_Tab, "\tb\nc", PLRange{1, 0}},
                                           std::tuple{"\t\ta\n      b\nc", PLRange{2, 9}, Qt::Key_Backtab, "\ta\n  b\nc", PLRange{1, 5}},
                                           std::tuple{"x\n\ty", PLRange{3, 0}, Qt::Key_Backtab, "x\ny", PLRange{2, 0}},
                                           std::tuple{"a\nb", PLRange{0, 3}, Qt::Key_Backtab, "a\nb", PLRange{0, 3}}));

TEST_F(EditorTest, HistoryAndPaneKeysAreTakenWithoutMovingTheCaret)
{
    PLTextView *view = showText(QStringLiteral("abcdef"));
    view->setSelectedRange(PLRange{3, 0});
    const Qt::KeyboardModifiers held[] = {Qt::ControlModifier | Qt::AltModifier, Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier,
                                          Qt::MetaModifier | Qt::AltModifier};
    for (const Qt::KeyboardModifiers modifiers : held) {
        QTest::keyClick(view, Qt::Key_Left, modifiers);
        QTest::keyClick(view, Qt::Key_Right, modifiers);
        EXPECT_EQ(view->selectedRange(), (PLRange{3, 0})) << int(modifiers);
    }
    QTest::keyClick(view, Qt::Key_Left);
    EXPECT_EQ(view->selectedRange(), (PLRange{2, 0}));
    QTest::keyClick(view, Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(view->selectedRange(), (PLRange{2, 1}));
    EXPECT_EQ(view->contentBuffer()->string(), QStringLiteral("abcdef"));
}

TEST_F(EditorTest, TheIncludeArgumentTooltipNamesTheFileAtTheSelection)
{
    write(QStringLiteral("intro.tex"), QStringLiteral("Hello."));
    const QString text = QStringLiteral("Before.\n\\input{intro}\nAfter.\n");
    PLTextView *view = showText(text);
    const qsizetype argument = text.indexOf(QStringLiteral("intro"));
    const auto pointAt = [&](qsizetype location) {
        QTextCursor cursor(view->document());
        cursor.setPosition(int(location));
        return view->cursorRect(cursor).center();
    };
    const auto tipAt = [&](qsizetype location) {
        const QPoint point = pointAt(location) + QPoint(2, 0);
        QHelpEvent help(QEvent::ToolTip, point, view->viewport()->mapToGlobal(point));
        QApplication::sendEvent(view->viewport(), &help);
        return QToolTip::isVisible() ? QToolTip::text() : QString();
    };
    // Only while the selection is in the argument; plain text carries no link, so it has no tooltip.
    view->setSelectedRange(PLRange{0, 0});
    EXPECT_EQ(tipAt(argument + 2), QString());
    view->setSelectedRange(PLRange{argument + 1, 0});
    EXPECT_EQ(QStringList({tipAt(2), tipAt(argument + 2)}), QStringList({QString(), QStringLiteral("Jump to intro.tex")}));
    // A click on the link places the caret like anywhere else.
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, pointAt(argument + 2));
    EXPECT_EQ(view->selectedRange(), (PLRange{argument + 2, 0}));
}

class Ruler : public EditorTest
{
protected:
    PLLineNumbersRulerView *showRuler(const QString &text, QSize size = QSize(500, 300))
    {
        view = makeView(open(text));
        auto *ruler = new PLLineNumbersRulerView(view);
        show({view}, size);
        return ruler;
    }
    static qreal expectedThickness(const QFont &font, int digits)
    {
        return std::ceil(std::max(22.0, QFontMetricsF(font).horizontalAdvance(QString(digits, u'8')) + 10.0));
    }
    PLTextView *view = nullptr;
};

using Lines = std::vector<qsizetype>;

// A large font makes every digit count show in the width, a tiny one the least width.
TEST_F(Ruler, ListsEveryLineFollowsEditsAndWidensOnTheNextTurnOfTheEventLoop)
{
    PLLineNumbersRulerView *ruler = showRuler(QStringLiteral("1\n2\n3\n4\n5\n6\n7\n8"));
    QFont large = ruler->font();
    large.setPixelSize(40);
    ruler->setFont(large);
    EXPECT_EQ(ruler->requiredThickness(), expectedThickness(large, 1));
    QCoreApplication::processEvents();
    ASSERT_EQ(ruler->ruleThickness(), expectedThickness(large, 1));
    EXPECT_EQ(ruler->lineIndices(), (Lines{0, 2, 4, 6, 8, 10, 12, 14}));
    EXPECT_EQ(ruler->width(), int(ruler->ruleThickness()));
    EXPECT_EQ(view->viewport()->x(), ruler->width());
    view->setSelectedRange(PLRange{view->contentBuffer()->length(), 0});
    QTest::keyClick(view, Qt::Key_Return);
    QTest::keyClicks(view, QStringLiteral("9"));
    QTest::keyClick(view, Qt::Key_Return);
    // The edits reach the list when it is next asked for; the width waits for the event loop.
    EXPECT_EQ(ruler->lineIndices().size(), 10u);
    EXPECT_EQ(ruler->ruleThickness(), expectedThickness(large, 1));
    QCoreApplication::processEvents();
    EXPECT_EQ(ruler->ruleThickness(), expectedThickness(large, 2));
    PLTextContentBuffer *buffer = view->contentBuffer();
    buffer->replaceCharactersInRange(PLRange{0, 4}, QString());
    EXPECT_EQ(ruler->lineNumberForCharacterIndex(0), 0);
    EXPECT_EQ(ruler->lineIndices().size(), 8u);
    QCoreApplication::processEvents();
    EXPECT_EQ(ruler->ruleThickness(), expectedThickness(large, 1));
    // An empty text is one line; a line break at the end starts another.
    buffer->replaceCharactersInRange(PLRange{0, buffer->length()}, QString());
    EXPECT_EQ(ruler->lineIndices(), Lines{0});
    buffer->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("a\n"));
    EXPECT_EQ(ruler->lineIndices(), (Lines{0, 2}));
    QFont tiny = ruler->font();
    tiny.setPixelSize(6);
    ruler->setFont(tiny);
    QCoreApplication::processEvents();
    EXPECT_EQ(ruler->ruleThickness(), expectedThickness(tiny, 1));
}

TEST_F(Ruler, AWrappedLineIsNumberedOnce)
{
    const QString longLine = QStringLiteral("word ").repeated(80);
    PLLineNumbersRulerView *ruler = showRuler(QStringLiteral("short\n") + longLine + QStringLiteral("\nlast\n"));
    const QList<PLLineNumbersRulerView::Label> labels = ruler->labelsInRect(ruler->rect());
    QList<int> numbers;
    for (const PLLineNumbersRulerView::Label &label : labels)
        numbers << label.lineNumber;
    EXPECT_EQ(numbers, (QList<int>{1, 2, 3, 4}));
}

class Spelling : public EditorTest
{
protected:
    void SetUp() override { PLSpellChecker::sharedSpellChecker().waitUntilReady(); }
    static QStringList markedWords(PLTextView *view)
    {
        view->spellChecker()->checkVisibleText();
        QStringList words;
        for (const PLRange &range : view->spellChecker()->markedRanges())
            words << view->contentBuffer()->string().mid(range.location, range.length);
        return words;
    }
};

TEST(SpellCheckerWords, AreLetterRunsAndNamesAreLeftAlone)
{
    // Gothic letters lie outside the Basic Multilingual Plane, two UTF-16 units each.
    const std::pair<QString, QStringList> cases[] = {
        {QStringLiteral("Don't \\sectoin{x2 l'été}, snake_case 3rd end"),
         {QStringLiteral("Don't"), QStringLiteral("sectoin"), QStringLiteral("l'été"), QStringLiteral("end")}},
        {QStringLiteral("e.g. it's"), {QStringLiteral("e"), QStringLiteral("g"), QStringLiteral("it's")}},
        {QStringLiteral("a\U00010330\U00010331b c\U0001D7CE"), {QStringLiteral("a\U00010330\U00010331b")}}};
    for (const auto &[text, expected] : cases) {
        QStringList words;
        for (const PLRange &range : PLSpellChecker::wordRanges(text))
            words << text.mid(range.location, range.length);
        EXPECT_EQ(words, expected);
    }
}

// A misspelt word right after a backslash is never marked.
TEST_F(Spelling, APreambleMathematicsAndCommandNamesAreNotProse)
{
    const QString text = QStringLiteral("\\documentclass[a4paper]{scrartcl}\n"
                                        "\\usepackage[utf8]{inputenc}\n"
                                        "\\usepackage{amsmth, graphicx}\n"
                                        "\\bibliographystyle{alphadin}\n"
                                        "\\begin{document}\n"
                                        "\\sectoin{Helo} wrold\\wrold the \\\\tehre\n"
                                        "\\label{sec:intrd} Teh text cites \\citep[chap.~3]{knuth84,lamprt} and \\eqref{eq:xyzzy}.\n"
                                        "Math $\\alpha + qwxz$ and \\[ zzqx \\] and \\(vxq\\) and $$qqvv$$ stay.\n"
                                        "\\begin{equation*}\n"
                                        "fooq + barq\n"
                                        "\\end{equation*}\n"
                                        "\\includegraphics[width=5cm]{figs/pltt} \\input{chaptr}\n"
                                        "\\href{http://exmple.org}{Wrld} \\url{http://exmple.org} 50\\$ is monney. % A commnt\n"
                                        "\\end{document}\n");
    PLTextView *view = showText(text, QSize(900, 500));
    EXPECT_EQ(markedWords(view), QStringLiteral("Helo wrold Teh Wrld monney commnt").split(u' '));
    // A dollar typed on one line opens mathematics through the lines after it in the paragraph.
    view->setSelectedRange(PLRange{text.indexOf(QStringLiteral("\\includegraphics")), 0});
    QTest::keyClicks(view, QStringLiteral("$"));
    view->setSelectedRange(PLRange{0, 0});
    EXPECT_EQ(markedWords(view), QStringLiteral("Helo wrold Teh").split(u' '));
}

TEST_F(Spelling, EveryPaneMarksTheWordsAndTheWordBeingTypedWaitsForTheCaretToLeave)
{
    const auto file = open(QStringLiteral("Some text.\n"));
    PLTextView *left = makeView(file);
    PLTextView *right = makeView(file);
    show({left, right});
    left->setSelectedRange(PLRange{10, 0});
    QTest::keyClicks(left, QStringLiteral(" wrold"));
    EXPECT_EQ(markedWords(left), QStringList());
    EXPECT_EQ(markedWords(right), QStringList{QStringLiteral("wrold")});
    QTest::keyClicks(left, QStringLiteral(" "));
    EXPECT_EQ(markedWords(left), QStringList{QStringLiteral("wrold")});
    // Mending the word in one pane clears its mark in both.
    left->setSelectedRange(PLRange{12, 3});
    QTest::keyClicks(left, QStringLiteral("orl"));
    QTest::keyClick(left, Qt::Key_End);
    EXPECT_EQ(file->contentBuffer()->string(), QStringLiteral("Some text. world \n"));
    EXPECT_EQ(markedWords(left), QStringList());
    EXPECT_EQ(markedWords(right), QStringList());
}

// Edits that open and close mathematics and arguments over lines and paragraphs, typed or made
// at once: the pane keeps the marks a pane reading the text afresh shows.
TEST_F(Spelling, MarksAfterEditsAreThoseOfAFreshPane)
{
    const QStringList pieces = QStringLiteral("$|{|}|\\label{|\\end{equation}|\n|\n\n| wrold |\\[|% |tehre").split(u'|');
    const auto file = open(QStringLiteral("Teh wrold $x$ and\n\\label{qzx\nmore wrold}\n\nNew paragrph $a\nb$ tehre.\n"
                                          "\\begin{equation}\nfooq\n\\end{equation} sme\n"));
    PLTextView *view = makeView(file);
    show({view}, QSize(900, 900));
    const auto marks = [](PLTextView *pane) {
        pane->setSelectedRange(PLRange{0, 0});
        pane->spellChecker()->checkVisibleText();
        return pane->spellChecker()->markedRanges();
    };
    std::mt19937 random(11);
    for (int step = 0; step < 40; ++step) {
        const QString &text = file->contentBuffer()->string();
        const qsizetype at = qsizetype(random() % (text.size() + 1));
        const QString piece = pieces.at(qsizetype(random() % pieces.size()));
        if (step % 2 == 0) {
            const qsizetype removed = qMin<qsizetype>(random() % 4, text.size() - at);
            view->insertText(piece, PLRange{at, removed});
        } else {
            view->setSelectedRange(PLRange{at, 0});
            for (const QChar c : piece) {
                if (c == u'\n')
                    QTest::keyClick(view, Qt::Key_Return);
                else
                    QTest::keyClicks(view, QString(c));
            }
        }
        auto *fresh = makeView(open(file->contentBuffer()->string(), QStringLiteral("fresh%1.tex").arg(step)));
        window.layout()->addWidget(fresh);
        QCoreApplication::processEvents();
        ASSERT_EQ(marks(view), marks(fresh)) << "after step " << step << ": " << file->contentBuffer()->string().toStdString();
        delete fresh;
    }
}

TEST_F(Spelling, OnlyTheLinesInViewAreCheckedAndNumbered)
{
    QString text;
    for (int i = 0; i < 3000; ++i)
        text += QStringLiteral("Line %1 has a mispelt word.\n").arg(i);
    PLTextView *view = makeView(open(text));
    auto *ruler = new PLLineNumbersRulerView(view);
    show({view}, QSize(500, 200));
    const int marksAtTheTop = int(markedWords(view).size());
    EXPECT_GT(marksAtTheTop, 0);
    EXPECT_LT(marksAtTheTop, 20);
    view->verticalScrollBar()->setValue(view->verticalScrollBar()->maximum());
    const QList<PLRange> marks = view->spellChecker()->markedRanges();
    ASSERT_FALSE(marks.isEmpty());
    EXPECT_LT(marks.size(), 20);
    EXPECT_GT(marks.first().location, text.size() - 2000);
    QCoreApplication::processEvents();
    QList<int> numbers;
    for (const PLLineNumbersRulerView::Label &label : ruler->labelsInRect(ruler->rect()))
        numbers << label.lineNumber;
    ASSERT_FALSE(numbers.isEmpty());
    EXPECT_LT(numbers.size(), 30);
    QList<int> inView(numbers.size());
    std::iota(inView.begin(), inView.end(), view->cursorForPosition(QPoint(0, 0)).blockNumber() + 1);
    EXPECT_EQ(numbers, inView);
}

// A pane whose policy can refuse the next edit, as a read-only pane would.
class RefusingDelegate : public PLTextViewDelegate
{
public:
    using PLTextViewDelegate::PLTextViewDelegate;
    bool textViewShouldChangeTextInRange(PLTextView *textView, PLRange range, const QString &replacementString) override
    {
        if (std::exchange(refuseNext, false))
            return false;
        return PLTextViewDelegate::textViewShouldChangeTextInRange(textView, range, replacementString);
    }
    bool refuseNext = false;
};

// A seed and the file's line break.
class TextViewRandomEditing : public EditorTest, public ::testing::WithParamInterface<std::pair<unsigned, const char *>>
{
protected:
    // Both panes show the buffer, the line ends stay the file's own, and the file saves as the
    // buffer holds it.
    ::testing::AssertionResult inStep()
    {
        QCoreApplication::processEvents();
        const QString &text = file->contentBuffer()->string();
        for (PLTextView *view : views) {
            if (mirrorOf(*view) != PLLineEndingMap::mirrorString(text))
                return ::testing::AssertionFailure() << "a mirror differs from the buffer";
            if (view->selectedRange().end() > text.size())
                return ::testing::AssertionFailure() << "selection past the end";
        }
        const QString lineBreak = QString::fromLatin1(GetParam().second);
        QString stripped = text;
        stripped.replace(lineBreak, QString());
        if (stripped.contains(u'\r') || stripped.contains(u'\n'))
            return ::testing::AssertionFailure() << "a foreign line end";
        if (!file->save())
            return ::testing::AssertionFailure() << "save failed";
        if (PLTest::readFile(file->stringPath()) != text.toUtf8())
            return ::testing::AssertionFailure() << "saved bytes differ from the buffer";
        return ::testing::AssertionSuccess();
    }
    qsizetype randomLocation() { return std::uniform_int_distribution<qsizetype>(0, file->contentBuffer()->length())(random); }
    template<typename T, size_t N>
    const T &pick(const T (&choices)[N])
    {
        return choices[std::uniform_int_distribution<size_t>(0, N - 1)(random)];
    }
    std::mt19937 random;
    std::shared_ptr<PLFile> file;
    std::vector<PLTextView *> views;
};

TEST_P(TextViewRandomEditing, PanesMirrorTheBufferThroughAnyEditSequence)
{
    random.seed(GetParam().first);
    const QString lineBreak = QString::fromLatin1(GetParam().second);
    const QString initial =
        QStringLiteral("\\section{One}%1Some \"text\" (here).%1%1\\begin{itemize}%1\t\\item x%1\\end{itemize}%1").arg(lineBreak);
    file = open(initial);
    std::vector<RefusingDelegate *> delegates;
    for (int pane = 0; pane < 2; ++pane) {
        auto *view = new PLTextView(file);
        delegates.push_back(new RefusingDelegate(file, nullptr, &history, view));
        view->setDelegate(delegates.back());
        views.push_back(view);
    }
    show({views[0], views[1]});
    ASSERT_TRUE(inStep());
    const QString typed[] = {QStringLiteral("a"), QStringLiteral("bc "), QStringLiteral("("),   QStringLiteral("["),
                             QStringLiteral("{"), QStringLiteral("\""), QStringLiteral("}x"), QStringLiteral("\\it"),
                             QStringLiteral("%"), QStringLiteral("\t")};
    const QString pasted[] = {QStringLiteral("x\ny"), QStringLiteral("p\r\nq\r\n"), QStringLiteral("\"q\""), QStringLiteral("("),
                              QStringLiteral("\n")};
    std::size_t acting = 0;
    QString log;
    for (int step = 0; step < 150; ++step) {
        PLTextView *view = views[acting];
        const int operation = std::uniform_int_distribution<int>(0, 13)(random);
        log += QString::number(operation) + QLatin1Char(' ');
        SCOPED_TRACE(log.toStdString());
        switch (operation) {
        case 0: {
            const qsizetype start = randomLocation();
            const qsizetype end = std::max(start, randomLocation());
            view->setSelectedRange(PLRange{start, std::uniform_int_distribution<int>(0, 2)(random) == 0 ? end - start : 0});
            break;
        }
        case 1:
            QTest::keyClicks(view, pick(typed));
            break;
        case 2:
            QTest::keyClick(view, pick({Qt::Key_Return, Qt::Key_Backspace, Qt::Key_Delete}));
            break;
        case 3:
            QApplication::clipboard()->setText(pick(pasted));
            QTest::keyClick(view, Qt::Key_V, Qt::ControlModifier);
            break;
        case 4:
            QTest::keyClick(view, Qt::Key_X, Qt::ControlModifier);
            break;
        case 5:
            QTest::keyClick(view, Qt::Key_Z, Qt::ControlModifier);
            break;
        case 6:
            QTest::keyClick(view, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
            break;
        case 7: {
            const QString before = file->contentBuffer()->string();
            delegates[acting]->refuseNext = true;
            QTest::keyClicks(view, QStringLiteral("r"));
            EXPECT_EQ(file->contentBuffer()->string(), before);
            delegates[acting]->refuseNext = false;
            break;
        }
        case 8: {
            // Two edits of the mirror in one go, the first of which the buffer's filters rewrite,
            // before the view gets back to the event loop to correct it.
            QTextCursor cursor(view->document());
            cursor.setPosition(int(view->mirrorPosition(randomLocation())));
            cursor.insertText(pick({QStringLiteral("("), QStringLiteral("\"")}));
            cursor.insertText(QStringLiteral("y"));
            break;
        }
        case 9: {
            QInputMethodEvent commit;
            commit.setCommitString(QStringLiteral("é"));
            QApplication::sendEvent(view, &commit);
            break;
        }
        case 10: {
            // A new line made elsewhere (another pane's command, a replace-all), never inside a pair.
            qsizetype location = randomLocation();
            if (PLLineEndingMap::isPairAt(file->contentBuffer()->string(), location - 1))
                --location;
            file->contentBuffer()->replaceCharactersInRange(PLRange{location, 0}, lineBreak);
            break;
        }
        case 11:
            acting = 1 - acting;
            views[acting]->setFocus();
            break;
        case 12:
            QTest::keyClick(view, pick({Qt::Key_Left, Qt::Key_Right, Qt::Key_Up, Qt::Key_Down}), Qt::ShiftModifier);
            break;
        default:
            // A command of several edits in one undo step, some of which the pane may refuse.
            delegates[acting]->refuseNext = std::uniform_int_distribution<int>(0, 1)(random);
            view->toggleCommentOfCurrentLine();
            delegates[acting]->refuseNext = false;
            break;
        }
        ASSERT_TRUE(inStep());
    }
    // The whole history replays to the file as opened, and forwards to where the run ended.
    const QString edited = file->contentBuffer()->string();
    PLUndoManager *undo = file->contentBuffer()->undoManager();
    const int end = undo->index();
    while (undo->canUndo()) {
        QTest::keyClick(views[0], Qt::Key_Z, Qt::ControlModifier);
        ASSERT_TRUE(inStep());
    }
    EXPECT_EQ(file->contentBuffer()->string(), initial);
    while (undo->index() < end) {
        QTest::keyClick(views[1], Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        ASSERT_TRUE(inStep());
    }
    EXPECT_EQ(file->contentBuffer()->string(), edited);
}

// Seed 17 typed into a refusing pane at the end of the text, where the line band asked the buffer
// for the character before a caret that only the mirror had.
INSTANTIATE_TEST_SUITE_P(Seeds, TextViewRandomEditing,
                         ::testing::Values(std::pair{17u, "\n"}, std::pair{2u, "\n"}, std::pair{1u, "\r\n"}, std::pair{3u, "\r\n"}));

}
