#pragma once

#include "core/foundation/PLRange.h"
#include "core/editor/PLTextAttributes.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <QVarLengthArray>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

class PLSyntaxHighlighterDelegate;
class PLTextStorage;

// Finds the next token in (string, location, length): its range in string, or a range whose location
// is PLNotFound.
using PLSyntaxHighlighterLocator = std::function<PLRange(const QString &string, qsizetype location, qsizetype length)>;

// Colours a text storage. After every edit it re-styles the whole lines the edit touched: text colour
// and font from the settings, then the rule set's tokens, line by line. A change of the text style
// in the settings re-colours the whole text. Colours are read from the settings once per colouring
// pass, so a changed colour applies to the next lines coloured.
//
// A whole text can also be coloured in the background: what a view shows first (colourNow), the
// rest in short slices from the event loop, starting each time from the first uncoloured line.
// Edits move the uncoloured stretches along; anyone reading the storage's attributes before the
// slices are done gets the rest coloured at once.
class PLSyntaxHighlighter : public QObject
{
    Q_OBJECT

public:
    // Attaches to the storage and observes text-style changes for its whole life.
    PLSyntaxHighlighter(PLTextStorage *textStorage, std::unique_ptr<PLSyntaxHighlighterDelegate> delegate);
    ~PLSyntaxHighlighter() override;

    PLSyntaxHighlighterDelegate *delegate() const { return m_delegate.get(); }

    void textStorageDidProcessEditing(PLRange editedRange, qsizetype changeInLength = 0);
    void userDefaultsDidChangeEditorTextColor();
    void highlightTextInRange(PLRange range);

    // From now on whole-text colourings go to the background; a text never coloured starts now.
    void colourInBackground();
    // Colours the lines of the range that still wait for the background, now.
    void colourNow(PLRange range);
    // Colours everything still waiting for the background, now.
    void finishColouring();
    bool hasPendingColouring() const { return !m_pending.empty(); }
    // Runs one slice of background colouring; false when nothing is left.
    bool colourNextSlice();

    // The colour the settings hold for the key, read once per colouring pass.
    std::optional<PLColor> colorForKey(const QString &key);

    // Paints every match of the expression in the line (the whole match) with the attribute.
    void setAttribute(PLTextAttributeName name, const PLTextAttributeValue &value, const QString &regEx,
                      const QString &contentString, qsizetype currentLineStart);
    // Paints every match of the expression in the line with each of the attributes, finding the
    // matches once.
    void setAttributes(const std::vector<std::pair<PLTextAttributeName, PLTextAttributeValue>> &attributes,
                       const QString &regEx, const QString &contentString, qsizetype currentLineStart);
    void setAttributes(const std::vector<std::pair<PLTextAttributeName, PLTextAttributeValue>> &attributes,
                       const QString &contentString, qsizetype currentLineStart, const PLSyntaxHighlighterLocator &locator);
    // Paints every range the locator finds in the line with the attribute.
    void setAttribute(PLTextAttributeName name, const PLTextAttributeValue &value, const QString &contentString,
                      qsizetype currentLineStart, const PLSyntaxHighlighterLocator &locator);

signals:
    // Lines were left uncoloured for the background: views should colour what they show now.
    void colouringDeferred();

private:
    // The attributes of the line being coloured, painted here and laid over the storage in one go
    // when the line is done: one index into m_values per attribute name and character (-1: keep).
    struct Canvas
    {
        qsizetype start = 0;
        qsizetype length = 0;
        std::vector<std::int32_t> layers[4];
    };

    // Paints the canvas with the value's index during a pass, the storage otherwise.
    void paint(PLTextAttributeName name, const PLTextAttributeValue &value, std::int32_t index, PLRange range);
    std::int32_t valueIndex(const PLTextAttributeValue &value);
    QVarLengthArray<std::int32_t, 4> valueIndices(
        const std::vector<std::pair<PLTextAttributeName, PLTextAttributeValue>> &attributes);
    void beginCanvas(qsizetype start, qsizetype length, std::int32_t textColor, std::int32_t font);
    void flushCanvas(std::vector<std::pair<qsizetype, PLTextAttributes>> &runs);
    const PLTextAttributes &combined(const PLTextAttributes &stored, const std::int32_t (&values)[4]);
    void deferAll();
    void markColoured(PLRange range);
    void movePending(qsizetype location, qsizetype oldLength, qsizetype newLength);
    void pendingChanged();

    PLTextStorage *m_textStorage;
    std::unique_ptr<PLSyntaxHighlighterDelegate> m_delegate;
    bool m_inPass = false;
    bool m_colourInBackground = false;
    Canvas m_canvas;
    std::vector<PLTextAttributeValue> m_values;
    // The stored runs of the lines being coloured, and the first one the canvas may still need.
    std::vector<std::pair<PLRange, const PLTextAttributes *>> m_stored;
    size_t m_storedIndex = 0;
    struct Combination
    {
        PLTextAttributes stored;
        std::int32_t values[4];
        PLTextAttributes result;
    };
    static constexpr size_t kMaximumCombinations = 64;
    std::vector<Combination> m_combinations;
    std::vector<std::pair<QString, std::optional<PLColor>>> m_colours;
    // Uncoloured stretches, start to end.
    std::map<qsizetype, qsizetype> m_pending;
    QTimer m_sliceTimer;
};
