#pragma once

#include <memory>

class PLFile;
class PLOutlineNode;
class PLTextContentBuffer;
class PLTextContentBufferEditObserver;

// Builds the outline of a whole file. One parser serves every file of a project, and it makes the
// outline pieces a file holds, so that a file reaches its outline only through its parser. A file
// without a parser has no outline.
class PLFileContentOutlineParser
{
public:
    virtual ~PLFileContentOutlineParser() = default;
    virtual void parseFile(const std::shared_ptr<PLFile> &file) = 0;
    virtual void parseContentBuffer(PLTextContentBuffer *contentBuffer) = 0;

    // A new root for the file, named after it and holding its text; with a root given, that root
    // emptied and given the file's present name and text instead.
    virtual std::shared_ptr<PLOutlineNode> resetOutlineRootNode(const std::shared_ptr<PLFile> &file,
                                                                const std::shared_ptr<PLOutlineNode> &root) = 0;
    // Whether an include of the file's outline still holds the included file's root.
    virtual bool outlineIncludesFile(const PLFile &file, const PLFile &included) const = 0;
    // What keeps the file's outline and engine in step with each edit of its buffer.
    virtual std::unique_ptr<PLTextContentBufferEditObserver> editObserverForFile(const std::shared_ptr<PLFile> &file) = 0;
};
