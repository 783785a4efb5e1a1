#pragma once

#include <memory>

class PLFile;

// Brings a file's outline to what a fresh parse of its text gives. The update made on every
// keystroke reparses only the nodes an edit touches, so edits that span nodes, undo, and comment
// signs or braces that reach into a neighbouring node leave it drifting from the text; once typing
// settles this puts it right.
//
// The text is parsed afresh without opening any file and compared with the outline node by node.
// Nodes that agree with the fresh parse keep their objects (an include keeps the file it holds);
// the ones that differ are swapped out with the same added, removed and changed-children
// notifications an edit posts, and only new include commands open files. The work is linear in
// the length of the text.
class PLOutlineSettler
{
public:
    // Answers whether the outline had to change.
    static bool settleFile(const std::shared_ptr<PLFile> &file);
};
