#include "core/editor/PLSyntaxHighlightingColorSettings.h"

#include "core/foundation/PLNotificationNameConstants.h"
#include "core/foundation/PLUserDefaultsConstants.h"

QList<PLSyntaxHighlightingColorSettings> PLSyntaxHighlightingColorSettings::editorColorGroups()
{
    // Every row restyles the text, whichever of its colours changes.
    const auto row = [](const QString &title, const QString &foregroundKey, const QString &backgroundKey) {
        return PLSyntaxHighlightingColorSetting(title, backgroundKey, PLNotificationEditorTextStyleDidChange,
                                                foregroundKey, PLNotificationEditorTextStyleDidChange);
    };

    PLSyntaxHighlightingColorSettings latex;
    latex.setTitle(QStringLiteral("LaTeX"));
    latex.addProperty(row(QStringLiteral("\\part, \\chapter, \\section, \\subsection ..."),
                          PLUserDefaultsEditorColorStructureDividers, PLUserDefaultsEditorColorStructureDividersBackground));
    latex.addProperty(row(QStringLiteral("Functions (\\begin etc.)"), PLUserDefaultsEditorColorFunctions,
                          PLUserDefaultsEditorColorFunctionsBackground));
    latex.addProperty(row(QStringLiteral("Commented areas"), PLUserDefaultsEditorColorCommentedAreas,
                          PLUserDefaultsEditorColorCommentedAreasBackground));
    latex.addProperty(row(QStringLiteral("$"), PLUserDefaultsEditorColorDollarSignAreas,
                          PLUserDefaultsEditorColorDollarSignAreasBackground));
    latex.addProperty(row(QStringLiteral("[] {} ()"), PLUserDefaultsEditorColorBrackets,
                          PLUserDefaultsEditorColorBracketsBackground));

    PLSyntaxHighlightingColorSettings bib;
    bib.setTitle(QStringLiteral("BIB"));
    bib.addProperty(row(QStringLiteral("@article, @unpublished, @incollection ..."), PLUserDefaultsEditorColorBIBType,
                        PLUserDefaultsEditorColorBIBTypeBackground));
    bib.addProperty(row(QStringLiteral("key = value"), PLUserDefaultsEditorColorBIBKey,
                        PLUserDefaultsEditorColorBIBKeyBackground));

    return {latex, bib};
}
