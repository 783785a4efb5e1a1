#pragma once

#include <memory>

class PLFile;
class PLTextContentBuffer;

// Builds the outline of a whole file. One parser serves every file of a project.
class PLFileContentOutlineParser
{
public:
    virtual ~PLFileContentOutlineParser() = default;
    virtual void parseFile(const std::shared_ptr<PLFile> &file) = 0;
    virtual void parseContentBuffer(PLTextContentBuffer *contentBuffer) = 0;
};
