#pragma once

#include "core/project/PLFileContentOutlineParser.h"

class PLLatexStringParser;
class PLQuickOpenManager;

// Builds a file's outline from its whole text. Parsing is recursive: every include opens its file,
// whose creation parses that file completely before the include node receives its root.
class PLLatexFileContentOutlineParser : public PLFileContentOutlineParser
{
public:
    // The quick-open manager of the project is kept for the project's use; parsing does not need it.
    explicit PLLatexFileContentOutlineParser(PLQuickOpenManager *quickOpenManager = nullptr);
    ~PLLatexFileContentOutlineParser() override;

    // Resets the file's outline, then parses its content buffer.
    void parseFile(const std::shared_ptr<PLFile> &file) override;
    // Appends the parsed nodes to the file's root, announcing each, then nests them.
    void parseContentBuffer(PLTextContentBuffer *contentBuffer) override;

    std::shared_ptr<PLFile> file() const { return m_file.lock(); }
    PLQuickOpenManager *quickOpenManager() const { return m_quickOpenManager; }
    void setQuickOpenManager(PLQuickOpenManager *quickOpenManager) { m_quickOpenManager = quickOpenManager; }

private:
    std::weak_ptr<PLFile> m_file;
    PLQuickOpenManager *m_quickOpenManager;
};
