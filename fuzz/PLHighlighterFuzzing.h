#pragma once

#include "core/editor/PLSyntaxHighlighterDelegate.h"

#include <QString>

#include <memory>

namespace PLFuzz {

// Colours the text with the rule set as a file is coloured when first shown, then types a copy of
// its first characters into the middle, so the line-by-line recolouring of an edit runs too.
// Aborts when the attribute runs stop covering the text.
void colourAndEdit(std::unique_ptr<PLSyntaxHighlighterDelegate> rules, const QString &text);

}
