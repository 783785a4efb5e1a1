#include "core/project/PLFilePool.h"
#include "PLFuzzSupport.h"
#include "core/latex/PLLatexStringParser.h"
#include "core/latex/PLOutlineNode.h"

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    PLFuzz::initialise(argc, argv);
    return 0;
}

// The outline of any text: nodes whose contents, joined, give back the text.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = PLFuzz::text(data, size);
    PLFilePool pool;
    PLLatexStringParser parser(nullptr);
    QString joined;
    for (const std::shared_ptr<PLOutlineNode> &node : parser.parseString(text))
        joined += node->content();
    if (joined != text)
        std::abort();
    return 0;
}
