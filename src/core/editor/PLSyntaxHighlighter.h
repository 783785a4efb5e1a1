#pragma once

#include "core/foundation/PLRange.h"
#include "core/editor/PLTextAttributes.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

class PLSyntaxHighlighterDelegate;
class PLTextStorage;

// Finds the next token in (string, location, length): its range in string, or a range whose location
// is PLNotFound.
using PLSyntaxHighlighterLocator = std::function<PLRange(const QString &string, qsizetype location, qsizetype length)>;

// Colours a text storage. After every edit it re-styles the whole lines the edit touched: text colour
// and font from the settings, then the rule set's tokens, line by line. A change of the text style
// in the settings re-colours the whole text. Colours are read from the settings as each line is
// coloured, so a changed colour applies to the next line coloured.
class PLSyntaxHighlighter : public QObject
{
    Q_OBJECT

public:
    // Attaches to the storage and observes text-style changes for its whole life.
    PLSyntaxHighlighter(PLTextStorage *textStorage, std::unique_ptr<PLSyntaxHighlighterDelegate> delegate);
    ~PLSyntaxHighlighter() override;

    PLSyntaxHighlighterDelegate *delegate() const { return m_delegate.get(); }

    void textStorageDidProcessEditing(PLRange editedRange);
    void userDefaultsDidChangeEditorTextColor();
    void highlightTextInRange(PLRange range);

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

private:
    PLTextStorage *m_textStorage;
    std::unique_ptr<PLSyntaxHighlighterDelegate> m_delegate;
};
