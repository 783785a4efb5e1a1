#pragma once

#include "core/latex/PLLatexFileContentRangeSearchResult.h"
#include "core/editor/PLTextContentBufferEditObserver.h"

#include <QString>

#include <memory>
#include <optional>

class PLFile;
class PLLatexStringParser;
class PLOutlineNode;

// Keeps one file's outline in step with each replacement in its text without reparsing the file:
// it patches the nodes the range covers, reparses only a patched node, swaps nodes in and out with
// added and removed notifications, reapplies the comment rule, renests the tree and tells observers
// that the file's children changed. It follows the edits of the file's buffer as its edit observer.
class PLOutlineNodeTreeChangesHandler : public PLTextContentBufferEditObserver
{
public:
    explicit PLOutlineNodeTreeChangesHandler(const std::shared_ptr<PLFile> &file);
    ~PLOutlineNodeTreeChangesHandler() override;
    PLOutlineNodeTreeChangesHandler(const PLOutlineNodeTreeChangesHandler &) = delete;
    PLOutlineNodeTreeChangesHandler &operator=(const PLOutlineNodeTreeChangesHandler &) = delete;

    std::shared_ptr<PLFile> file() const;

    // One replacement of the range (location, length) of the file's text by the string.
    void replaceContentInOutlineNode(const std::shared_ptr<PLOutlineNode> &rootNode, qsizetype location, qsizetype length,
                                     const QString &string);
    // Updates the outline and then the engine choice, unless the buffer has outline updating off.
    void textContentBufferDidReplaceCharactersInRange(PLTextContentBuffer *buffer, PLRange range, const QString &string) override;

    // Kept for old callers; answers as PLOutlineTreeHelper::locateNodesInRange.
    std::optional<PLLatexFileContentRangeSearchResult> locateNodesInRangeRelativeFromNode(
        qsizetype location, qsizetype length, const std::shared_ptr<PLOutlineNode> &node) const;

private:
    void replaceInOneNode(const PLLatexFileContentParserNodeSearchResult &first, qsizetype location, qsizetype length,
                          const QString &string);
    void replaceAcrossNodes(const PLLatexFileContentRangeSearchResult &records, qsizetype location, qsizetype length,
                            const QString &string);
    void applyCommentRule(const std::shared_ptr<PLOutlineNode> &rootNode);
    void makePlainText(PLOutlineNode *node);
    // Takes the included roots off the node, announcing each, and releases their files.
    void releaseIncludedRoots(const std::shared_ptr<PLOutlineNode> &node);
    void postNodeAdded(const std::shared_ptr<PLOutlineNode> &node) const;
    void postNodeRemoved(const std::shared_ptr<PLOutlineNode> &node) const;

    std::weak_ptr<PLFile> m_file;
    std::unique_ptr<PLLatexStringParser> m_stringParser;
    // The root that announcements name; the file's own root while the file lives.
    const PLOutlineNode *m_notificationObject = nullptr;
};
