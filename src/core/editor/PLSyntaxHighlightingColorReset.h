#pragma once

// Writes the editor's reset colours over the user's, saves the settings at once and tells every
// editor: background, then line highlight, then text style. Fonts are left alone.
void PLResetSyntaxHighlightingColors();
