#include "PLBIBSyntaxHightlighterDelegate.h"

#include "PLUserDefaultsConstants.h"

namespace {
// The at sign and the word after it.
const QString kEntryType = QStringLiteral(R"re(@(\w)*)re");
// From the line's first character through the last closing brace of "name = {value}".
const QString kKeyValue = QStringLiteral(R"re((.)+ = \{(.|\s|\\n)+\})re");
}

void PLBIBSyntaxHightlighterDelegate::syntaxHighlighterWillProcessStringForHighlighting(
    PLSyntaxHighlighter *syntaxHighlighter, const QString &string, qsizetype lineStart)
{
    paint(syntaxHighlighter, PLUserDefaultsEditorColorBIBTypeBackground, PLUserDefaultsEditorColorBIBType, kEntryType,
          string, lineStart);
    paint(syntaxHighlighter, PLUserDefaultsEditorColorBIBKeyBackground, PLUserDefaultsEditorColorBIBKey, kKeyValue,
          string, lineStart);
    PLLatexSyntaxHighlighterDelegate::syntaxHighlighterWillProcessStringForHighlighting(syntaxHighlighter, string,
                                                                                         lineStart);
}
