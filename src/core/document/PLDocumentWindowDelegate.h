#pragma once

// What a document asks of its window. The user interface implements it; a headless document
// (the command-line companion, the tests) runs without one.
class PLDocumentWindowDelegate
{
public:
    virtual ~PLDocumentWindowDelegate() = default;

    // The window shows whether the project has unsaved changes.
    virtual void setDocumentEdited(bool edited) = 0;
};
