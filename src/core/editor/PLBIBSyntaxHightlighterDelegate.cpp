#include "core/editor/PLBIBSyntaxHightlighterDelegate.h"

#include "core/foundation/PLUserDefaultsConstants.h"

namespace {
// The at sign and the word after it.
const QString kEntryType = QStringLiteral(R"re(@\w*+)re");
// A field starts only where no character of the same line precedes it; its name ends at the first
// " = {", and its value runs to the last closing brace of the searched text, line terminators
// included. Without such a brace the rest is swallowed (group 1 unset), as no later start can
// find one either.
const QString kKeyValue = QStringLiteral(R"re((?<!.)(?>.+? = \{)(?:([\s\S]+\})|[\s\S]*+))re");
}

void PLBIBSyntaxHightlighterDelegate::syntaxHighlighterWillProcessStringForHighlighting(
    PLSyntaxHighlighter *syntaxHighlighter, const QString &string, qsizetype lineStart)
{
    paint(syntaxHighlighter, PLUserDefaultsEditorColorBIBTypeBackground, PLUserDefaultsEditorColorBIBType, kEntryType,
          string, lineStart);
    paint(syntaxHighlighter, PLUserDefaultsEditorColorBIBKeyBackground, PLUserDefaultsEditorColorBIBKey,
          keyValueLocator, string, lineStart);
    PLLatexSyntaxHighlighterDelegate::syntaxHighlighterWillProcessStringForHighlighting(syntaxHighlighter, string,
                                                                                         lineStart);
}

PLRange PLBIBSyntaxHightlighterDelegate::keyValueLocator(const QString &string, qsizetype location, qsizetype length)
{
    return firstMarkedMatch(kKeyValue, string, PLRange{location, length}, 0);
}
