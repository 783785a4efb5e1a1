#pragma once

#include <memory>

class PLDocument;
class PLFile;

// What a document asks of its window. The user interface implements it; a headless document
// (the command-line companion, the tests) runs without one.
class PLDocumentWindowDelegate
{
public:
    // What a save does with a file that another program changed since it was read or saved.
    enum class ChangedFileAction { Overwrite, Reload, Cancel };

    virtual ~PLDocumentWindowDelegate() = default;

    // The window shows whether the project has unsaved changes.
    virtual void setDocumentEdited(bool edited) = 0;
    // Asked before a save writes over such a file. A window that cannot ask keeps the file on disk.
    virtual ChangedFileAction documentActionForFileChangedOnDisk(PLDocument *, const std::shared_ptr<PLFile> &)
    {
        return ChangedFileAction::Cancel;
    }
};
