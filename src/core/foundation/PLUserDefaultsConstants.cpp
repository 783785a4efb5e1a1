#include "core/foundation/PLUserDefaultsConstants.h"

#include "core/foundation/PLColor.h"

QVariantMap PLRegisteredUserDefaults()
{
    const auto rgba = [](double r, double g, double b, double a) { return PLColor::rgb(r, g, b, a).archived(); };
    const auto white = [](double w, double a) { return PLColor::white(w, a).archived(); };
    const QString blue = rgba(0.254, 0.306, 0.81, 1.0);
    const QString clear = rgba(1.0, 1.0, 1.0, 0.0);

    QVariantMap paneSetup;
    paneSetup.insert(PLSplitViewSetupContentType, 0);
    paneSetup.insert(PLSplitViewSetupContentPercentageWidth, 100.0);

    return QVariantMap{
        {PLUserDefaultsEditorFontName, QStringLiteral("Monaco")},
        {PLUserDefaultsEditorFontSize, 12},
        {PLUserDefaultsUseBibTex, true},
        {PLUserDefaultsFileEncoding, 4},
        {PLUserDefaultsTexLocation, QStringLiteral("/usr/texbin")},
        {PLUserDefaultsPDFDisplayMode, 1},
        {PLUserDefaultsSplitViewSetup, QVariantList{paneSetup}},
        {PLUserDefaultsTypesettingEngine, QStringLiteral("pdflatex")},
        {PLUserDefaultsShellEscapeEnabled, true},
        {PLUserDefaultsEditorBackgroundColor, white(1.0, 1.0)},
        {PLUserDefaultsEditorColorText, white(0.0, 1.0)},
        {PLUserDefaultsEditorColorFunctions, blue},
        {PLUserDefaultsEditorColorFunctionsBackground, clear},
        {PLUserDefaultsEditorColorBrackets, blue},
        {PLUserDefaultsEditorColorBracketsBackground, clear},
        {PLUserDefaultsEditorColorStructureDividers, rgba(0.665, 0.052, 0.569, 1.0)},
        {PLUserDefaultsEditorColorStructureDividersBackground, rgba(0.77, 0.102, 0.086, 0.1)},
        {PLUserDefaultsEditorColorCommentedAreas, white(2.0 / 3.0, 1.0)},
        {PLUserDefaultsEditorColorCommentedAreasBackground, clear},
        {PLUserDefaultsEditorColorDollarSignAreas, rgba(0.77, 0.102, 0.086, 1.0)},
        {PLUserDefaultsEditorColorDollarSignAreasBackground, clear},
        {PLUserDefaultsEditorColorBIBType, blue},
        {PLUserDefaultsEditorColorBIBTypeBackground, clear},
        {PLUserDefaultsEditorColorBIBLabel, blue},
        {PLUserDefaultsEditorColorBIBLabelBackground, clear},
        {PLUserDefaultsEditorColorBIBKey, rgba(0.81, 0.254, 0.331, 1.0)},
        {PLUserDefaultsEditorColorBIBKeyBackground, clear},
        {PLUserDefaultsEditorColorBIBValue, blue},
        {PLUserDefaultsEditorColorBIBValueBackground, clear},
        {PLUserDefaultsEditorColorLineHighlighter, rgba(0.286, 0.121, 0.808, 1.0)},
        {PLUserDefaultsEditorColorLineHighlighterBorders, white(0.0, 1.0)},
    };
}
