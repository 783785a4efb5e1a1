#include "PLFuzzSupport.h"
#include "PLHighlighterFuzzing.h"
#include "core/editor/PLBIBSyntaxHightlighterDelegate.h"

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    PLFuzz::initialise(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    PLFuzz::colourAndEdit(std::make_unique<PLBIBSyntaxHightlighterDelegate>(), PLFuzz::text(data, size));
    return 0;
}
