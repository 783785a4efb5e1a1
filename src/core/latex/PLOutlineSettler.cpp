#include "core/latex/PLOutlineSettler.h"

#include "core/foundation/PLDictionaryKeys.h"
#include "core/project/PLFile.h"
#include "core/latex/PLLatexStringParser.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/latex/PLOutlineNode.h"

#include <QHash>

#include <algorithm>
#include <deque>
#include <unordered_set>
#include <vector>

namespace {

// A file's own nodes in document order, each with the index of its parent (-1 for the root).
struct PLFlatOutline
{
    std::vector<std::shared_ptr<PLOutlineNode>> nodes;
    std::vector<qsizetype> parents;
};

void flatten(const PLOutlineNode &node, qsizetype parentIndex, PLFlatOutline &flat)
{
    for (const auto &child : node.children()) {
        if (child->type() == PLOutlineNode::FileRoot)
            continue;
        const auto index = qsizetype(flat.nodes.size());
        flat.nodes.push_back(child);
        flat.parents.push_back(parentIndex);
        flatten(*child, index, flat);
    }
}

// A node that holds another file's root without being an include: left behind by an edit.
bool holdsStrayRoot(const PLOutlineNode &node)
{
    return !node.isFileReference()
        && std::any_of(node.children().begin(), node.children().end(),
                       [](const auto &child) { return child->type() == PLOutlineNode::FileRoot; });
}

// Whether the node stands for what the fresh node does, nesting aside.
bool agrees(const PLOutlineNode &node, const PLOutlineNode &fresh)
{
    return node.type() == fresh.type() && node.textNodeSubType() == fresh.textNodeSubType() && node.name() == fresh.name()
        && node.contentView() == fresh.contentView() && !holdsStrayRoot(node);
}

// Include nodes that agree have one key. An edit inside a command renames its node "text" but
// leaves it holding the file it named before, so the name takes part.
QString fileReferenceKey(const PLOutlineNode &node)
{
    return QString::number(node.textNodeSubType()) + u':' + node.name() + u':' + node.content();
}

// Takes every node out of its parent, last first, so that each leaves from the end of its list.
void detachAll(const PLFlatOutline &flat)
{
    for (auto it = flat.nodes.rbegin(); it != flat.nodes.rend(); ++it) {
        if (const auto parent = (*it)->parent())
            parent->removeChild(*it);
    }
}

void post(const QString &name, const QString &key, const PLOutlineNode *root, const std::shared_ptr<PLOutlineNode> &node)
{
    PLNotificationCenter::defaultCenter().post(name, root, QVariantMap{{key, QVariant::fromValue(node)}});
}

}

bool PLOutlineSettler::settleFile(const std::shared_ptr<PLFile> &file)
{
    const std::shared_ptr<PLOutlineNode> root = file ? file->outlineRootNode() : nullptr;
    if (!root || !file->contentBuffer())
        return false;

    PLLatexStringParser parser(file);
    parser.setOpensIncludedFiles(false);
    const auto scratch = PLOutlineNode::create(root->name(), PLOutlineNode::FileRoot, QString(), file);
    for (const auto &node : parser.parseString(file->content()))
        scratch->addChild(node);
    scratch->fixTree();

    PLFlatOutline old;
    PLFlatOutline fresh;
    flatten(*root, -1, old);
    flatten(*scratch, -1, fresh);
    const auto oldCount = qsizetype(old.nodes.size());
    const auto freshCount = qsizetype(fresh.nodes.size());
    const bool rootHoldsStrayRoot = holdsStrayRoot(*root);

    // Edits are local, so the outline mostly agrees with the fresh parse before and after one stretch.
    qsizetype prefix = 0;
    while (prefix < std::min(oldCount, freshCount) && agrees(*old.nodes[size_t(prefix)], *fresh.nodes[size_t(prefix)]))
        ++prefix;
    qsizetype suffix = 0;
    while (suffix < std::min(oldCount, freshCount) - prefix
           && agrees(*old.nodes[size_t(oldCount - 1 - suffix)], *fresh.nodes[size_t(freshCount - 1 - suffix)]))
        ++suffix;
    if (oldCount == freshCount && prefix == oldCount && old.parents == fresh.parents && !rootHoldsStrayRoot)
        return false;

    // Includes inside the changed stretch that still name the same files keep them.
    QHash<QString, std::deque<std::shared_ptr<PLOutlineNode>>> reusableReferences;
    for (qsizetype i = prefix; i < oldCount - suffix; ++i) {
        const auto &node = old.nodes[size_t(i)];
        if (node->isFileReference())
            reusableReferences[fileReferenceKey(*node)].push_back(node);
    }
    std::vector<std::shared_ptr<PLOutlineNode>> settled(static_cast<std::size_t>(freshCount));
    std::vector<std::shared_ptr<PLOutlineNode>> added;
    std::unordered_set<const PLOutlineNode *> reused;
    PLLatexStringParser opener(file);
    for (qsizetype i = 0; i < freshCount; ++i) {
        const auto &node = fresh.nodes[size_t(i)];
        if (i < prefix) {
            settled[size_t(i)] = old.nodes[size_t(i)];
            continue;
        }
        if (i >= freshCount - suffix) {
            settled[size_t(i)] = old.nodes[size_t(i - freshCount + oldCount)];
            continue;
        }
        if (node->isFileReference()) {
            if (auto reusable = reusableReferences.find(fileReferenceKey(*node));
                reusable != reusableReferences.end() && !reusable->empty()) {
                settled[size_t(i)] = reusable->front();
                reused.insert(reusable->front().get());
                reusable->pop_front();
                continue;
            }
            // Only a new include command opens the files it names.
            settled[size_t(i)] = opener.parseFileReference(node->content());
        }
        if (!settled[size_t(i)])
            settled[size_t(i)] = node;
        added.push_back(settled[size_t(i)]);
    }

    std::vector<std::shared_ptr<PLOutlineNode>> removed;
    for (qsizetype i = prefix; i < oldCount - suffix; ++i) {
        const auto &node = old.nodes[size_t(i)];
        if (!reused.count(node.get()))
            removed.push_back(node);
    }

    detachAll(old);
    detachAll(fresh);
    std::vector<std::shared_ptr<PLOutlineNode>> strayRoots = root->includedRoots();
    for (const auto &stray : strayRoots)
        root->removeChild(stray);
    for (qsizetype i = 0; i < freshCount; ++i) {
        const qsizetype parent = fresh.parents[size_t(i)];
        (parent < 0 ? root : settled[size_t(parent)])->addChild(settled[size_t(i)]);
    }

    for (const auto &node : removed)
        post(PLNotificationOutlineNodeWasRemoved, PLDictionaryKeyOutlineNodeRemoved, root.get(), node);
    for (const auto &node : added)
        post(PLNotificationOutlineNodeWasAdded, PLDictionaryKeyOutlineNodeAdded, root.get(), node);
    // Files are given back once nothing in the outline holds them; one with unsaved changes stays
    // open, edits and all.
    for (const auto &node : removed) {
        for (const auto &included : node->includedRoots())
            strayRoots.push_back(included);
    }
    for (const auto &included : strayRoots)
        file->releaseFileContainedInDocument(included->file());
    PLNotificationCenter::defaultCenter().post(PLNotificationNameNodeDidChangeChildren, root.get());
    return true;
}
