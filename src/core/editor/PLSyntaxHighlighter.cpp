#include "core/editor/PLSyntaxHighlighter.h"

#include "core/foundation/PLLogging.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/project/PLNotificationNameConstants.h"
#include "core/foundation/PLRegularExpressionHelper.h"
#include "core/editor/PLSyntaxHighlighterDelegate.h"
#include "core/editor/PLTextStorage.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/project/PLUserDefaultsConstants.h"

PLSyntaxHighlighter::PLSyntaxHighlighter(PLTextStorage *textStorage,
                                         std::unique_ptr<PLSyntaxHighlighterDelegate> delegate)
    : m_textStorage(textStorage), m_delegate(std::move(delegate))
{
    connect(textStorage, &PLTextStorage::didProcessEditing, this,
            [this](PLRange editedRange, qsizetype) { textStorageDidProcessEditing(editedRange); });
    PLNotificationCenter::defaultCenter().addObserver(this, PLNotificationEditorTextStyleDidChange, nullptr,
                                                      [this](const PLNotification &) {
                                                          userDefaultsDidChangeEditorTextColor();
                                                      });
}

PLSyntaxHighlighter::~PLSyntaxHighlighter()
{
    PLNotificationCenter::defaultCenter().removeObserver(this);
}

void PLSyntaxHighlighter::textStorageDidProcessEditing(PLRange editedRange)
{
    highlightTextInRange(editedRange);
}

void PLSyntaxHighlighter::userDefaultsDidChangeEditorTextColor()
{
    highlightTextInRange(PLRange{0, m_textStorage->length()});
}

void PLSyntaxHighlighter::highlightTextInRange(PLRange range)
{
    // Only the lines of the range are read, so colouring an edit costs the same in any text.
    const qsizetype textLength = m_textStorage->length();
    if (range.location < 0 || range.length < 0 || range.location > textLength || range.length > textLength - range.location) {
        qCInfo(lcHighlighter) << "highlightTextView: range out of bound";
        return;
    }
    const PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    // Without a text colour nothing is coloured: that is how colouring stays off until the
    // defaults are registered.
    const std::optional<PLColor> textColor = defaults.colorForKey(PLUserDefaultsEditorColorText);
    if (!textColor) {
        qCInfo(lcHighlighter) << "no user defaults found";
        return;
    }

    const PLRange lines = m_textStorage->lineRangeForRange(range);
    m_textStorage->beginEditing();
    m_textStorage->addAttribute(PLTextAttributeName::ForegroundColor, *textColor, lines);
    const QString fontName = defaults.stringForKey(PLUserDefaultsEditorFontName);
    const PLFont font = fontName.isEmpty()
        ? PLFont{QStringLiteral("Tahoma"), 16.0}
        : PLFont{fontName, double(defaults.integerForKey(PLUserDefaultsEditorFontSize))};
    m_textStorage->addAttribute(PLTextAttributeName::Font, font, lines);

    // Stepping one past each line's end lands inside the next line, which still finds that line;
    // a line that is a lone line feed is stepped over, which costs nothing since it has no tokens.
    qsizetype position = lines.location;
    while (position < lines.end()) {
        const PLRange line = m_textStorage->lineRangeForRange(PLRange{position, 0});
        m_delegate->syntaxHighlighterWillProcessStringForHighlighting(this, m_textStorage->substring(line), line.location);
        position = line.end() + 1;
    }
    m_textStorage->endEditing();
}

void PLSyntaxHighlighter::setAttribute(PLTextAttributeName name, const PLTextAttributeValue &value,
                                       const QString &regEx, const QString &contentString, qsizetype currentLineStart)
{
    setAttributes({{name, value}}, regEx, contentString, currentLineStart);
}

void PLSyntaxHighlighter::setAttribute(PLTextAttributeName name, const PLTextAttributeValue &value,
                                       const QString &contentString, qsizetype currentLineStart,
                                       const PLSyntaxHighlighterLocator &locator)
{
    setAttributes({{name, value}}, contentString, currentLineStart, locator);
}

void PLSyntaxHighlighter::setAttributes(const std::vector<std::pair<PLTextAttributeName, PLTextAttributeValue>> &attributes,
                                        const QString &regEx, const QString &contentString, qsizetype currentLineStart)
{
    if (attributes.empty())
        return;
    PLRange match = PLRegularExpressionHelper::rangeOfFirstMatch(regEx, contentString);
    while (match.isFound()) {
        for (const auto &[name, value] : attributes)
            m_textStorage->addAttribute(name, value, PLRange{currentLineStart + match.location, match.length});
        // An empty match would be found again at the same place.
        const qsizetype next = match.end() + (match.length == 0 ? 1 : 0);
        if (next > contentString.size())
            break;
        match = PLRegularExpressionHelper::firstMatchInRange(regEx, contentString,
                                                             PLRange{next, contentString.size() - next});
    }
}

void PLSyntaxHighlighter::setAttributes(const std::vector<std::pair<PLTextAttributeName, PLTextAttributeValue>> &attributes,
                                        const QString &contentString, qsizetype currentLineStart,
                                        const PLSyntaxHighlighterLocator &locator)
{
    if (attributes.empty())
        return;
    PLRange found = locator(contentString, 0, contentString.size());
    while (found.isFound()) {
        for (const auto &[name, value] : attributes)
            m_textStorage->addAttribute(name, value, PLRange{currentLineStart + found.location, found.length});
        const qsizetype next = found.end() + (found.length == 0 ? 1 : 0);
        if (next > contentString.size())
            break;
        found = locator(contentString, next, contentString.size() - next);
    }
}
