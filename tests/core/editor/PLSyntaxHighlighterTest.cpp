#include "core/editor/PLLatexSyntaxHighlighterDelegate.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "PLSyntaxHighlighterTestSupport.h"
#include "PLTestSupport.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <gtest/gtest.h>

namespace {

using Lines = std::vector<std::pair<QString, qsizetype>>;

class PLSyntaxHighlighterTest : public ::testing::Test
{
protected:
    void SetUp() override { PLTest::resetSettings(); }
    PLUserDefaults &defaults() { return PLUserDefaults::standardUserDefaults(); }
};

TEST_F(PLSyntaxHighlighterTest, EditsRecolourExactlyTheWholeLinesTheyTouched)
{
    const struct
    {
        const char16_t *text;
        PLRange replaced;
        const char16_t *replacement;
        Lines expected;
    } cases[] = {
        {u"one\ntwo\nthree\n", {5, 0}, u"x", {{QStringLiteral("txwo\n"), 4}}},
        {u"one\ntwo\nthree\n", {4, 0}, u"a\nb\nc", {{QStringLiteral("a\n"), 4}, {QStringLiteral("b\n"), 6}, {QStringLiteral("ctwo\n"), 8}}},
        {u"one\ntwo\nthree\n", {2, 4}, u"X", {{QStringLiteral("onXo\n"), 0}}},
        // A new line feed belongs to the line it ends.
        {u"one\ntwo\n", {3, 0}, u"\n", {{QStringLiteral("one\n"), 0}}},
        {u"one\n", {4, 0}, u"four", {{QStringLiteral("four"), 4}}},
        {u"a\r\nb\r\nc", {4, 0}, u"x", {{QStringLiteral("bx\r\n"), 3}}},
        // A line of a lone line feed is stepped over.
        {u"a\nb", {1, 0}, u"\n\nz\n", {{QStringLiteral("a\n"), 0}, {QStringLiteral("z\n"), 3}}}};
    for (const auto &c : cases) {
        PLPlainTextStorage storage(QString::fromUtf16(c.text));
        Lines lines;
        PLSyntaxHighlighter highlighter(&storage, std::make_unique<PLRecordingHighlighterDelegate>(&lines));
        std::vector<PLRange> received;
        QObject::connect(&storage, &PLTextStorage::didProcessEditing, [&](PLRange editedRange, qsizetype) { received.push_back(editedRange); });
        const QString replacement = QString::fromUtf16(c.replacement);
        storage.replaceCharactersInRange(c.replaced, replacement);
        EXPECT_EQ(lines, c.expected) << QString::fromUtf16(c.text).toStdString();
        EXPECT_EQ(received, std::vector<PLRange>{(PLRange{c.replaced.location, replacement.size()})});
    }
}

TEST_F(PLSyntaxHighlighterTest, AStyleChangeRecoloursTheWholeTextOnce)
{
    PLPlainTextStorage storage(QStringLiteral("a\r\n\nb\r\rc"));
    Lines lines;
    PLSyntaxHighlighter highlighter(&storage, std::make_unique<PLRecordingHighlighterDelegate>(&lines));
    PLNotificationCenter::defaultCenter().post(PLNotificationEditorTextStyleDidChange);
    EXPECT_EQ(lines, (Lines{{QStringLiteral("a\r\n"), 0}, {QStringLiteral("b\r"), 4}, {QStringLiteral("c"), 7}}));
}

TEST_F(PLSyntaxHighlighterTest, WithoutATextColourNothingIsColoured)
{
    defaults().setString(QStringLiteral("not a colour"), PLUserDefaultsEditorColorText);
    PLPlainTextStorage storage(QStringLiteral("\\section{A}\n"));
    PLSyntaxHighlighter highlighter(&storage, std::make_unique<PLLatexSyntaxHighlighterDelegate>());
    storage.replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("x"));
    EXPECT_EQ(storage.attributeRunCount(), 1);
    EXPECT_TRUE(storage.attributesAtIndex(3).isEmpty());
}

TEST_F(PLSyntaxHighlighterTest, ARangeOutsideTheTextIsIgnored)
{
    PLPlainTextStorage storage(QStringLiteral("abc"));
    PLSyntaxHighlighter highlighter(&storage, std::make_unique<PLLatexSyntaxHighlighterDelegate>());
    highlighter.highlightTextInRange(PLRange{2, 2});
    highlighter.highlightTextInRange(PLNotFoundRange);
    EXPECT_TRUE(storage.attributesAtIndex(0).isEmpty());
}

TEST_F(PLSyntaxHighlighterTest, ColoursAreReadFromTheSettingsForEachLine)
{
    PLPlainTextStorage storage(QStringLiteral("$a$\n$b$\n"));
    PLSyntaxHighlighter highlighter(&storage, std::make_unique<PLLatexSyntaxHighlighterDelegate>());
    const PLColor first = PLColor::rgb(0.1, 0.2, 0.3, 1.0);
    const PLColor second = PLColor::rgb(0.4, 0.5, 0.6, 1.0);
    defaults().setColor(first, PLUserDefaultsEditorColorDollarSignAreas);
    highlighter.userDefaultsDidChangeEditorTextColor();
    defaults().setColor(second, PLUserDefaultsEditorColorDollarSignAreas);
    storage.replaceCharactersInRange(PLRange{5, 1}, QStringLiteral("c"));

    EXPECT_EQ(storage.attributesAtIndex(0).foregroundColor(), first);
    EXPECT_EQ(storage.attributesAtIndex(4).foregroundColor(), second);
    EXPECT_EQ(storage.attributesAtIndex(5).foregroundColor(), defaults().colorForKey(PLUserDefaultsEditorColorText));
}

TEST_F(PLSyntaxHighlighterTest, AMissingColourIsSkippedNotPainted)
{
    defaults().setString(QStringLiteral("garbage"), PLUserDefaultsEditorColorFunctionsBackground);
    defaults().setString(QStringLiteral("garbage"), PLUserDefaultsEditorColorBrackets);
    PLPlainTextStorage storage(QStringLiteral("\\emph{x}"));
    PLSyntaxHighlighter highlighter(&storage, std::make_unique<PLLatexSyntaxHighlighterDelegate>());
    highlighter.userDefaultsDidChangeEditorTextColor();

    const PLTextAttributes command = storage.attributesAtIndex(1);
    EXPECT_EQ(command.foregroundColor(), defaults().colorForKey(PLUserDefaultsEditorColorFunctions));
    EXPECT_FALSE(command.backgroundColor());
    const PLTextAttributes brace = storage.attributesAtIndex(5);
    EXPECT_EQ(brace.foregroundColor(), defaults().colorForKey(PLUserDefaultsEditorColorText));
    EXPECT_EQ(brace.backgroundColor(), defaults().colorForKey(PLUserDefaultsEditorColorBracketsBackground));
}

TEST_F(PLSyntaxHighlighterTest, ForegroundAndFontAreResetButOtherAttributesStay)
{
    PLPlainTextStorage storage(QStringLiteral("%a \\input{b}\n"));
    PLSyntaxHighlighter highlighter(&storage, std::make_unique<PLLatexSyntaxHighlighterDelegate>());
    highlighter.userDefaultsDidChangeEditorTextColor();
    const std::optional<PLColor> commentBackground = defaults().colorForKey(PLUserDefaultsEditorColorCommentedAreasBackground);
    ASSERT_EQ(storage.attributesAtIndex(1).backgroundColor(), commentBackground);

    // Uncommenting and un-including: the characters go back to the text colour, yet keep the
    // background and link painted before.
    storage.replaceCharactersInRange(PLRange{0, 1}, QString());
    storage.replaceCharactersInRange(PLRange{3, 5}, QStringLiteral("emph"));
    const PLTextAttributes a = storage.attributesAtIndex(0);
    EXPECT_EQ(a.foregroundColor(), defaults().colorForKey(PLUserDefaultsEditorColorText));
    EXPECT_EQ(a.backgroundColor(), commentBackground);
    EXPECT_EQ(storage.attributesAtIndex(8).link(), QStringLiteral("file://"));
}

TEST_F(PLSyntaxHighlighterTest, TheFontComesFromTheSettingsOrFallsBackToTahoma)
{
    PLPlainTextStorage storage(QStringLiteral("x\ny\n"));
    PLSyntaxHighlighter highlighter(&storage, std::make_unique<PLLatexSyntaxHighlighterDelegate>());
    defaults().setInteger(15, PLUserDefaultsEditorFontSize);
    highlighter.highlightTextInRange(PLRange{0, 1});
    EXPECT_EQ(storage.attributesAtIndex(0).font(), (PLFont{QStringLiteral("Monaco"), 15.0}));
    defaults().setString(QString(), PLUserDefaultsEditorFontName);
    highlighter.highlightTextInRange(PLRange{2, 1});
    EXPECT_EQ(storage.attributesAtIndex(2).font(), (PLFont{QStringLiteral("Tahoma"), 16.0}));
}

TEST_F(PLSyntaxHighlighterTest, ViewsHearOfTheEditFirstAndOfItsColoursOnceAfterwards)
{
    PLPlainTextStorage storage(QStringLiteral("a\nb\n"));
    PLSyntaxHighlighter highlighter(&storage, std::make_unique<PLLatexSyntaxHighlighterDelegate>());
    QStringList heard;
    QObject::connect(&storage, &PLTextStorage::didProcessEditing, [&](PLRange range, qsizetype) {
        // The highlighter was attached first, so the new text is coloured by now.
        const bool coloured = storage.attributesAtIndex(range.location).foregroundColor().has_value();
        heard << QStringLiteral("edit %1 coloured %2").arg(toString(range)).arg(coloured ? 1 : 0);
    });
    QObject::connect(&storage, &PLTextStorage::didEditAttributes,
                     [&](PLRange range) { heard << QStringLiteral("attributes %1").arg(toString(range)); });
    storage.replaceCharactersInRange(PLRange{2, 0}, QStringLiteral("\\x "));
    EXPECT_EQ(heard, QStringList({QStringLiteral("edit {2, 3} coloured 1"), QStringLiteral("attributes {2, 5}")}));
}

}

namespace {

TEST(PLTextStorage, AttributeEditsWaitingForTheEndOfAGroupMoveWithTheText)
{
    PLPlainTextStorage storage(QStringLiteral("0123456789"));
    std::vector<PLRange> reported;
    QObject::connect(&storage, &PLTextStorage::didEditAttributes, [&](PLRange range) { reported.push_back(range); });
    storage.beginEditing();
    storage.addAttribute(PLTextAttributeName::Link, QStringLiteral("file://"), PLRange{5, 2});
    storage.replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("ab"));
    storage.addAttribute(PLTextAttributeName::Link, QStringLiteral("file://"), PLRange{1, 1});
    EXPECT_TRUE(reported.empty());
    storage.endEditing();
    EXPECT_EQ(reported, (std::vector<PLRange>{{1, 8}}));
    PLRange link;
    EXPECT_TRUE(storage.attributesAtIndex(7, &link).link());
    EXPECT_EQ(link, (PLRange{7, 2}));
}

}
