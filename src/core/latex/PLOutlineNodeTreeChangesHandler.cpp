#include "core/latex/PLOutlineNodeTreeChangesHandler.h"

#include "core/foundation/PLDictionaryKeys.h"
#include "core/project/PLFile.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/latex/PLLatexStringParser.h"
#include "core/foundation/PLLogging.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/latex/PLOutlineNode.h"
#include "core/latex/PLOutlineTreeHelper.h"
#include "core/editor/PLTextContentBuffer.h"

#include <algorithm>
#include <unordered_set>

PLOutlineNodeTreeChangesHandler::PLOutlineNodeTreeChangesHandler(const std::shared_ptr<PLFile> &file)
    : m_file(file), m_stringParser(std::make_unique<PLLatexStringParser>(file))
{
}

PLOutlineNodeTreeChangesHandler::~PLOutlineNodeTreeChangesHandler() = default;

std::shared_ptr<PLFile> PLOutlineNodeTreeChangesHandler::file() const
{
    return m_file.lock();
}

std::optional<PLLatexFileContentRangeSearchResult> PLOutlineNodeTreeChangesHandler::locateNodesInRangeRelativeFromNode(
    qsizetype location, qsizetype length, const std::shared_ptr<PLOutlineNode> &node) const
{
    qCWarning(lcOutline) << "locateNodesInRange:relativeFromNode: is deprecated";
    return PLOutlineTreeHelper(node).locateNodesInRange(location, length);
}

void PLOutlineNodeTreeChangesHandler::postNodeAdded(const std::shared_ptr<PLOutlineNode> &node) const
{
    PLNotificationCenter::defaultCenter().post(PLNotificationOutlineNodeWasAdded, m_notificationObject,
                                               QVariantMap{{PLDictionaryKeyOutlineNodeAdded, QVariant::fromValue(node)}});
}

void PLOutlineNodeTreeChangesHandler::postNodeRemoved(const std::shared_ptr<PLOutlineNode> &node) const
{
    PLNotificationCenter::defaultCenter().post(PLNotificationOutlineNodeWasRemoved, m_notificationObject,
                                               QVariantMap{{PLDictionaryKeyOutlineNodeRemoved, QVariant::fromValue(node)}});
}

void PLOutlineNodeTreeChangesHandler::replaceContentInOutlineNode(const std::shared_ptr<PLOutlineNode> &rootNode,
                                                                  qsizetype location, qsizetype length, const QString &string)
{
    if (!rootNode)
        return;
    const auto owner = file();
    m_notificationObject = owner && owner->outlineRootNode() ? owner->outlineRootNode().get() : rootNode.get();
    if (const auto records = PLOutlineTreeHelper(rootNode).locateNodesInRange(location, length)) {
        if (records->countOfResults() < 2)
            replaceInOneNode(records->searchResultAtIndex(0), location, length, string);
        else
            replaceAcrossNodes(*records, location, length, string);
    }
    applyCommentRule(rootNode);
    rootNode->fixChangedParts();
    PLNotificationCenter::defaultCenter().post(PLNotificationNameNodeDidChangeChildren, rootNode.get());
}

void PLOutlineNodeTreeChangesHandler::replaceInOneNode(const PLLatexFileContentParserNodeSearchResult &first,
                                                       qsizetype location, qsizetype length, const QString &string)
{
    const auto node = first.node();
    node->replaceContentInRange(location - first.location(), length, string);
    const auto parsed = m_stringParser->parseString(node->content());
    const auto parent = node->parent();
    if (parsed.isEmpty() || !parent)
        return;
    const qsizetype index = node->indexInParent();
    const auto owner = file();
    const auto oldChildren = node->children();
    // Files are given back once the replaced node is out of the tree, so that only the new nodes
    // count as still including them.
    std::vector<std::shared_ptr<PLFile>> released;
    const auto removeReplacedNode = [&] {
        parent->removeChild(node);
        if (owner) {
            for (const auto &includedFile : released)
                owner->releaseFileContainedInDocument(includedFile);
        }
        postNodeRemoved(node);
    };

    if (parsed.size() == 1) {
        const auto &replacement = parsed.front();
        qsizetype moved = 0;
        for (const auto &child : oldChildren) {
            if (child->type() == PLOutlineNode::FileRoot)
                released.push_back(child->file());
            else
                replacement->insertChild(child, moved++);
        }
        // The node and its replacement trade places in one step; the announcements follow in order.
        parent->replaceChild(node, replacement);
        postNodeAdded(replacement);
        if (owner) {
            for (const auto &includedFile : released)
                owner->releaseFileContainedInDocument(includedFile);
        }
        postNodeRemoved(node);
        return;
    }

    for (qsizetype i = parsed.size() - 1; i >= 0; --i) {
        parent->insertChild(parsed[i], index + 1);
        postNodeAdded(parsed[i]);
    }
    std::shared_ptr<PLOutlineNode> firstInclude;
    for (const auto &candidate : parsed) {
        if (candidate->type() == PLOutlineNode::Text && candidate->textNodeSubType() == PLOutlineNode::FileInclude) {
            firstInclude = candidate;
            break;
        }
    }
    const auto nodeFile = node->file();
    const bool retypedUntitledInclude = firstInclude && nodeFile && nodeFile->isUntitled() && firstInclude->file()
        && firstInclude->file()->isUntitled() && node->isFileReference();
    const qsizetype after = index + 1 + parsed.size();
    for (auto it = oldChildren.rbegin(); it != oldChildren.rend(); ++it) {
        const auto &child = *it;
        if (child->type() != PLOutlineNode::FileRoot) {
            parent->insertChild(child, after);
            continue;
        }
        const auto childFile = child->file();
        const auto opened = firstInclude ? firstInclude->childAtIndex(0) : nullptr;
        if (retypedUntitledInclude && opened && childFile) {
            // A retyped include in an untitled document keeps the untitled file it named, with its
            // text and outline, under the name now typed.
            const auto created = opened->file();
            if (created == childFile) {
                released.push_back(created);
                continue;
            }
            if (owner)
                owner->removeFileFromFilesContaindInDocument(created);
            childFile->setName(created->name());
            created->close();
            firstInclude->removeChild(opened);
            child->setName(childFile->name());
            firstInclude->addChild(child);
        } else {
            released.push_back(childFile);
        }
    }
    removeReplacedNode();
}

void PLOutlineNodeTreeChangesHandler::replaceAcrossNodes(const PLLatexFileContentRangeSearchResult &records,
                                                         qsizetype location, qsizetype length, const QString &string)
{
    const auto &first = records.searchResultAtIndex(0);
    const auto &last = records.searchResultAtIndex(records.countOfResults() - 1);
    const auto merged = first.node();
    QString content = merged->contentView().left(location - first.location()).toString();
    content.append(string).append(last.node()->contentView().mid(location + length - last.location()));

    // The nodes after the range that hang below covered nodes keep their text order under the
    // merged node; the last covered node's children come first, then the later children of each
    // covered ancestor of it.
    std::unordered_set<const PLOutlineNode *> covered;
    for (const auto &record : records.nodes())
        covered.insert(record.node().get());
    std::vector<std::shared_ptr<PLOutlineNode>> orphans;
    for (qsizetype i = records.countOfResults() - 1; i >= 1; --i) {
        for (const auto &child : records.searchResultAtIndex(i).node()->children()) {
            if (child->type() != PLOutlineNode::FileRoot && !covered.count(child.get()))
                orphans.push_back(child);
        }
    }
    qsizetype at = 0;
    while (at < merged->childCount() && merged->childAtIndex(at)->type() == PLOutlineNode::FileRoot)
        ++at;
    for (const auto &orphan : orphans) {
        merged->insertChild(orphan, at++);
        postNodeAdded(merged);
    }

    for (qsizetype i = records.countOfResults() - 1; i >= 1; --i) {
        const auto node = records.searchResultAtIndex(i).node();
        if (const auto parent = node->parent())
            parent->removeChild(node);
        postNodeRemoved(node);
        // Bibliographies give their files back too, so removing one leaves no file open.
        if (const auto includer = node->file(); includer && node->isFileReference()) {
            for (const auto &included : node->includedRoots())
                includer->releaseFileContainedInDocument(included->file());
        }
    }
    merged->replaceContentInRange(0, merged->contentLength(), content);
    // An include merged into a heading names no file any more; its files would otherwise be walked
    // as part of this one.
    if (!merged->isFileReference())
        releaseIncludedRoots(merged);
}

void PLOutlineNodeTreeChangesHandler::releaseIncludedRoots(const std::shared_ptr<PLOutlineNode> &node)
{
    const auto owner = file();
    for (const auto &included : node->includedRoots()) {
        node->removeChild(included);
        postNodeRemoved(included);
        if (owner)
            owner->releaseFileContainedInDocument(included->file());
    }
}

void PLOutlineNodeTreeChangesHandler::applyCommentRule(const std::shared_ptr<PLOutlineNode> &rootNode)
{
    bool everything = false;
    const auto changed = rootNode->takeCommentRuleChanges(&everything);
    if (everything) {
        bool previousLineCommented = rootNode->isLastLineCommented();
        for (PLOutlineNode *node = rootNode->traverseRightNode(); node; node = node->traverseRightNode()) {
            if (previousLineCommented)
                makePlainText(node);
            previousLineCommented = node->isLastLineCommented();
        }
        return;
    }
    // Since the rule last held everywhere, only a changed node, the node after it in the walk and
    // the node after its subtree can have a commented line in front of them that they ignore.
    std::vector<std::pair<std::vector<qsizetype>, PLOutlineNode *>> candidates;
    const auto consider = [&](PLOutlineNode *node) {
        std::vector<qsizetype> place;
        for (const PLOutlineNode *step = node; step != rootNode.get(); step = step->parent().get()) {
            // Nodes of another file, detached ones, and those hidden below an include node are not walked.
            if (!step || step->type() == PLOutlineNode::FileRoot)
                return;
            if (step != node && step->isFileReference())
                return;
            place.push_back(step->indexInParent());
        }
        std::reverse(place.begin(), place.end());
        candidates.emplace_back(std::move(place), node);
    };
    if (PLOutlineNode *first = rootNode->traverseRightNode())
        consider(first);
    for (const auto &node : changed) {
        consider(node.get());
        if (PLOutlineNode *next = node->traverseRightNode())
            consider(next);
        if (PLOutlineNode *after = node->nextNodeAfterSubtree())
            consider(after);
    }
    std::sort(candidates.begin(), candidates.end());
    candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
    // In text order, as a walk of the whole file would announce them.
    for (const auto &[place, node] : candidates) {
        const PLOutlineNode *previous = node->traversePredecessor();
        if (previous ? previous->isLastLineCommented() : rootNode->isLastLineCommented())
            makePlainText(node);
    }
}

void PLOutlineNodeTreeChangesHandler::makePlainText(PLOutlineNode *node)
{
    // Every file a bibliography names goes, so the text node holds no other file's root.
    if (node->isFileReference())
        releaseIncludedRoots(node->shared_from_this());
    node->setType(PLOutlineNode::Text);
    node->setTextNodeSubType(PLOutlineNode::PlainText);
}

void PLOutlineNodeTreeChangesHandler::textContentBufferDidReplaceCharactersInRange(PLTextContentBuffer *buffer, PLRange range,
                                                                                 const QString &string)
{
    const auto owner = file();
    const auto root = owner ? owner->outlineRootNode() : nullptr;
    if (buffer->updateOutlineWhenReplacingCharacters()) {
        if (root)
            replaceContentInOutlineNode(root, range.location, range.length, string);
        if (owner)
            PLLatexFileContentOutlineParser::updateFileEngine(*owner);
    }
    if (root && lcOutlineDump().isDebugEnabled()) {
        QStringList descriptions;
        for (const auto &child : root->children())
            descriptions.append(QStringLiteral("    ") + child->description());
        qCDebug(lcOutlineDump).noquote() << QStringLiteral("(\n%1\n)").arg(descriptions.join(QStringLiteral(",\n")));
    }
}
