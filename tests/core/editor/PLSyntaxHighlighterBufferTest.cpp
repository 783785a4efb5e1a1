#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "PLOutlineTestSupport.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "core/editor/PLTextContentBuffer.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QSignalSpy>
#include <QUndoStack>

using namespace PLTest;

namespace {

class PLSyntaxHighlighterBufferTest : public ProjectTest
{
protected:
    void SetUp() override { resetSettings(); }

    PLTextContentBuffer *open(const QString &name, const QString &text)
    {
        file = PLFile::fileWithPath(write(name, text), std::make_shared<PLLatexFileContentOutlineParser>());
        return file->contentBuffer();
    }

    static std::optional<PLColor> color(const QString &key) { return PLUserDefaults::standardUserDefaults().colorForKey(key); }

    std::shared_ptr<PLFile> file;
};

// Regression: a file opened with text showed no colours until its first edit.
TEST_F(PLSyntaxHighlighterBufferTest, TheTextAFileOpensWithIsColouredWhenFirstRead)
{
    PLTextContentBuffer *buffer = open(QStringLiteral("b.tex"), QStringLiteral("plain\n\\section{A}\n"));
    QSignalSpy painted(buffer, &PLTextStorage::didEditAttributes);
    EXPECT_TRUE(painted.isEmpty());
    EXPECT_EQ(buffer->attributesAtIndex(0).foregroundColor(), color(PLUserDefaultsEditorColorText));
    EXPECT_EQ(buffer->attributesAtIndex(7).foregroundColor(), color(PLUserDefaultsEditorColorStructureDividers));
    EXPECT_EQ(painted.size(), 1);
    buffer->attributesAtIndex(3);
    EXPECT_EQ(painted.size(), 1);
}

TEST_F(PLSyntaxHighlighterBufferTest, ColoursMoveWithEditsAndUndo)
{
    PLTextContentBuffer *buffer = open(QStringLiteral("a.tex"), QStringLiteral("x\n$y$ % c\n"));
    buffer->syntaxHighlighter()->userDefaultsDidChangeEditorTextColor();
    buffer->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("\\emph"));
    EXPECT_EQ(buffer->attributesAtIndex(0).foregroundColor(), color(PLUserDefaultsEditorColorFunctions));
    PLRange dollar;
    EXPECT_EQ(buffer->attributesAtIndex(7, &dollar).foregroundColor(), color(PLUserDefaultsEditorColorDollarSignAreas));
    EXPECT_EQ(dollar, (PLRange{7, 1}));
    PLRange comment;
    EXPECT_EQ(buffer->attributesAtIndex(11, &comment).foregroundColor(), color(PLUserDefaultsEditorColorCommentedAreas));
    EXPECT_EQ(comment, (PLRange{11, 3}));

    buffer->undoManager()->undo();
    EXPECT_EQ(buffer->string(), QStringLiteral("x\n$y$ % c\n"));
    EXPECT_EQ(buffer->attributesAtIndex(0).foregroundColor(), color(PLUserDefaultsEditorColorText));
    EXPECT_EQ(buffer->attributesAtIndex(6, &comment).foregroundColor(), color(PLUserDefaultsEditorColorCommentedAreas));
    EXPECT_EQ(comment, (PLRange{6, 3}));
}

// Reloaded text took on the heading background of the old first line over its whole length.
TEST_F(PLSyntaxHighlighterBufferTest, ReloadedTextHasTheColoursOfAFreshlyReadOne)
{
    const auto runs = [](PLTextContentBuffer *buffer) {
        QList<std::pair<PLRange, PLTextAttributes>> found;
        buffer->enumerateAttributes(PLRange{0, buffer->length()},
                                    [&found](const PLTextAttributes &attributes, PLRange run) { found.append({run, attributes}); });
        return found;
    };
    PLTextContentBuffer *buffer = open(QStringLiteral("a.tex"), QStringLiteral("\\section{Old}\n$a$\n"));
    ASSERT_TRUE(buffer->attributesAtIndex(0).backgroundColor().has_value());
    const QString reloaded = QStringLiteral("plain text\n$b$\n\\chapter{New}\nend\n");
    buffer->setString(reloaded);
    EXPECT_EQ(buffer->attributesAtIndex(6).foregroundColor(), color(PLUserDefaultsEditorColorText));
    EXPECT_FALSE(buffer->attributesAtIndex(6).backgroundColor().has_value());
    const auto reloadedRuns = runs(buffer);
    EXPECT_EQ(reloadedRuns, runs(open(QStringLiteral("b.tex"), reloaded)));
}

}
