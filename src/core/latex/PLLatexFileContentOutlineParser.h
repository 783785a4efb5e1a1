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

    // Resets the file's outline, parses its content buffer, then chooses the file's engine.
    void parseFile(const std::shared_ptr<PLFile> &file) override;
    // Appends the parsed nodes to the file's root, announcing each, then nests them.
    void parseContentBuffer(PLTextContentBuffer *contentBuffer) override;
    std::shared_ptr<PLOutlineNode> resetOutlineRootNode(const std::shared_ptr<PLFile> &file,
                                                        const std::shared_ptr<PLOutlineNode> &root) override;
    // Looks into include nodes, not into the roots of other files.
    bool outlineIncludesFile(const PLFile &file, const PLFile &included) const override;
    // The file's PLOutlineNodeTreeChangesHandler.
    std::unique_ptr<PLTextContentBufferEditObserver> editObserverForFile(const std::shared_ptr<PLFile> &file) override;

    // Chooses XeLaTeX when the file's first outline node holds the magic comment line, the default
    // otherwise; leaves the engine alone while the outline has no node.
    static void updateFileEngine(PLFile &file);

    std::shared_ptr<PLFile> file() const { return m_file.lock(); }
    PLQuickOpenManager *quickOpenManager() const { return m_quickOpenManager; }
    void setQuickOpenManager(PLQuickOpenManager *quickOpenManager) { m_quickOpenManager = quickOpenManager; }

private:
    std::weak_ptr<PLFile> m_file;
    PLQuickOpenManager *m_quickOpenManager;
};
