#include "core/editor/PLSyntaxHighlightingColorReset.h"

#include "core/foundation/PLColor.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <utility>

void PLResetSyntaxHighlightingColors()
{
    const PLColor blue = PLColor::rgb(0.254, 0.306, 0.81, 1.0);
    // Transparent backgrounds are stored as clear white rather than left out, so every per-line
    // lookup of the highlighter finds a colour.
    const PLColor clear = PLColor::rgb(1.0, 1.0, 1.0, 0.0);
    const std::pair<const QString &, PLColor> colors[] = {
        {PLUserDefaultsEditorBackgroundColor, PLColor::white(1.0, 1.0)},
        {PLUserDefaultsEditorColorText, PLColor::white(0.0, 1.0)},
        {PLUserDefaultsEditorColorFunctions, blue},
        {PLUserDefaultsEditorColorFunctionsBackground, clear},
        {PLUserDefaultsEditorColorBrackets, blue},
        {PLUserDefaultsEditorColorBracketsBackground, clear},
        {PLUserDefaultsEditorColorStructureDividers, PLColor::rgb(0.665, 0.052, 0.569, 1.0)},
        {PLUserDefaultsEditorColorStructureDividersBackground, PLColor::rgb(0.77, 0.102, 0.086, 0.1)},
        {PLUserDefaultsEditorColorCommentedAreas, PLColor::white(2.0 / 3.0, 1.0)},
        {PLUserDefaultsEditorColorCommentedAreasBackground, clear},
        {PLUserDefaultsEditorColorDollarSignAreas, PLColor::rgb(0.77, 0.102, 0.086, 1.0)},
        {PLUserDefaultsEditorColorDollarSignAreasBackground, clear},
        {PLUserDefaultsEditorColorBIBType, blue},
        {PLUserDefaultsEditorColorBIBTypeBackground, clear},
        {PLUserDefaultsEditorColorBIBLabel, blue},
        {PLUserDefaultsEditorColorBIBLabelBackground, clear},
        {PLUserDefaultsEditorColorBIBKey, PLColor::rgb(0.81, 0.254, 0.331, 1.0)},
        {PLUserDefaultsEditorColorBIBKeyBackground, clear},
        {PLUserDefaultsEditorColorBIBValue, blue},
        {PLUserDefaultsEditorColorBIBValueBackground, clear},
        {PLUserDefaultsEditorColorLineHighlighter, PLColor::rgb(0.286, 0.121, 0.808, 1.0)},
        {PLUserDefaultsEditorColorLineHighlighterBorders, PLColor::white(0.0, 1.0)},
    };
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    for (const auto &[key, color] : colors)
        defaults.setColor(color, key);
    defaults.synchronize();

    PLNotificationCenter &center = PLNotificationCenter::defaultCenter();
    center.post(PLNotificationEditorBackgroundColorDidChange);
    center.post(PLNotificationEditorLineHighlightColorDidChange);
    center.post(PLNotificationEditorTextStyleDidChange);
}
