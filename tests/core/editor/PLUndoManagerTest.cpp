#include "core/editor/PLTextContentBuffer.h"
#include "core/editor/PLUndoManager.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

// What the history should hold: the text after each step, the step it stands at and the saved one
// (-1 once a new step replaced the saved one).
struct Model
{
    std::vector<QString> texts;
    int index = 0;
    int clean = 0;
    bool isClean() const { return index == clean; }
    void record(const QString &text)
    {
        texts.resize(size_t(index) + 1);
        if (clean > index)
            clean = -1;
        texts.push_back(text);
        ++index;
    }
};

class PLUndoManagerTest : public ::testing::TestWithParam<unsigned>
{
protected:
    // A replacement somewhere in the text, with the brackets and line breaks the typing filters rewrite.
    void editRandomly()
    {
        static const QStringList pieces{QString(), QStringLiteral("x"), QStringLiteral("("), QStringLiteral("\n"),
                                        QStringLiteral("\"q\""), QStringLiteral("\t{")};
        const qsizetype size = buffer.length();
        const qsizetype location = pick(0, int(size));
        const qsizetype length = pick(0, int(std::min<qsizetype>(3, size - location)));
        buffer.replaceCharactersInRange(PLRange{location, length}, pieces[pick(0, int(pieces.size()) - 1)]);
    }
    int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); }
    std::mt19937 random{GetParam()};
    PLTextContentBuffer buffer{QStringLiteral("a.tex"), nullptr, QStringLiteral("\tstart\n")};
    PLUndoManager *history = buffer.undoManager();
};

// Every step of a seeded run of edits, groups, undos, redos, saves and clears leaves the text, the
// counts, the clean state and the signals where the model says, as the document's edited state needs.
TEST_P(PLUndoManagerTest, keepsInStepWithTheModel)
{
    Model model{{buffer.string()}};
    QSignalSpy indexChanges(history, &PLUndoManager::indexChanged);
    QSignalSpy cleanChanges(history, &PLUndoManager::cleanChanged);
    for (int step = 0; step < 300; ++step) {
        SCOPED_TRACE(step);
        const Model before = model;
        const int action = pick(0, 39);
        if (action < 14) {
            editRandomly();
            model.record(buffer.string());
        } else if (action < 20) {
            // Nested groups and empty ones still make one step; nothing is taken back meanwhile.
            history->beginMacro();
            for (int edits = pick(0, 3); edits > 0; --edits) {
                const bool nested = pick(0, 1) == 1;
                if (nested)
                    history->beginMacro();
                editRandomly();
                if (nested)
                    history->endMacro();
            }
            const QString grouped = buffer.string();
            EXPECT_FALSE(history->canUndo() || history->canRedo() || history->isClean());
            history->undo();
            history->setClean();
            EXPECT_EQ(buffer.string(), grouped);
            history->endMacro();
            model.record(grouped);
        } else if (action < 28) {
            history->undo();
            model.index = std::max(0, model.index - 1);
        } else if (action < 35) {
            history->redo();
            model.index = std::min(int(model.texts.size()) - 1, model.index + 1);
        } else if (action < 39) {
            history->setClean();
            model.clean = model.index;
        } else {
            history->clear();
            model = Model{{buffer.string()}};
        }
        ASSERT_EQ(buffer.string(), model.texts[size_t(model.index)]);
        EXPECT_EQ(std::tuple(history->count(), history->index(), history->canUndo(), history->canRedo(), history->isClean()),
                  std::tuple(int(model.texts.size()) - 1, model.index, model.index > 0, model.index < history->count(), model.isClean()));
        // A clear announces the index even where it stays 0, as long as there were steps to forget.
        const bool cleared = action == 39 && before.texts.size() > 1;
        ASSERT_EQ(indexChanges.size(), model.index != before.index || cleared ? 1 : 0);
        if (!indexChanges.isEmpty()) {
            EXPECT_EQ(indexChanges.takeFirst().at(0).toInt(), model.index);
        }
        ASSERT_EQ(cleanChanges.size(), model.isClean() != before.isClean() ? 1 : 0);
        if (!cleanChanges.isEmpty()) {
            EXPECT_EQ(cleanChanges.takeFirst().at(0).toBool(), model.isClean());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, PLUndoManagerTest, ::testing::Values(1u, 2u, 3u, 5u, 8u, 13u));

}
