#pragma once

#include "core/project/PLFileContentOutlineParser.h"

// A parser that leaves a file's outline untouched.
class PLLatexFileContentElementsParser : public PLFileContentOutlineParser
{
public:
    void parseFile(const std::shared_ptr<PLFile> &) override {}
    void parseContentBuffer(PLTextContentBuffer *) override {}
};
