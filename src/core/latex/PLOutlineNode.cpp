#include "core/latex/PLOutlineNode.h"

#include "core/project/PLFile.h"
#include "core/latex/PLLatexStringParser.h"
#include "core/latex/PLTitleMarkup.h"

#include <algorithm>
#include <bit>

namespace {

// The roots of files whose trees hold nodes still waiting for a renesting step.
std::unordered_set<const PLOutlineNode *> &rootsWaitingForFix()
{
    static std::unordered_set<const PLOutlineNode *> roots;
    return roots;
}

// What a child adds to its parent's length: included files' roots hold none of its text.
qsizetype lengthInParent(const PLOutlineNode &child)
{
    return child.type() == PLOutlineNode::FileRoot ? 0 : child.subtreeLength();
}

}

PLOutlineNode::PLOutlineNode(QString name, quint32 type, QString content, const std::shared_ptr<PLFile> &file)
    : PLOutlineNode(std::move(name), type, content, PLRange{0, content.size()}, file)
{
}

PLOutlineNode::PLOutlineNode(QString name, quint32 type, QString text, PLRange stretch, const std::shared_ptr<PLFile> &file)
    : m_type(type),
      m_name(std::move(name)),
      m_contentText(std::move(text)),
      m_contentStart(stretch.location),
      m_contentLength(stretch.length),
      m_file(file),
      m_subtreeLength(type == FileRoot ? 0 : stretch.length)
{
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::create(const QString &name, quint32 type, const QString &content,
                                                     const std::shared_ptr<PLFile> &file)
{
    return std::make_shared<PLOutlineNode>(name, type, content, file);
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::createTextNode(const QString &text, PLRange stretch, const std::shared_ptr<PLFile> &file)
{
    return std::make_shared<PLOutlineNode>(QStringLiteral("text"), Text, text, stretch, file);
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::createFileIncludeNode(const QString &content, const std::shared_ptr<PLFile> &file)
{
    auto node = create(QStringLiteral("input"), Text, content, file);
    node->m_textNodeSubType = FileInclude;
    return node;
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::createBibliographyNode(const QString &content, const std::shared_ptr<PLFile> &file)
{
    auto node = create(QStringLiteral("bibliography"), Text, content, file);
    node->m_textNodeSubType = Bibliography;
    return node;
}

PLOutlineNode::~PLOutlineNode()
{
    for (const auto &child : m_children) {
        if (child && child->m_parent == this) {
            child->m_parent = nullptr;
            child->m_listedForFix = false;
        }
    }
    if (m_type == FileRoot)
        rootsWaitingForFix().erase(this);
}

void PLOutlineNode::setType(quint32 type)
{
    if (type == m_type)
        return;
    m_type = type;
    markNeighboursForFix();
    recordCommentRuleChange();
}

void PLOutlineNode::setTextNodeSubType(quint32 subType)
{
    if (subType == m_textNodeSubType)
        return;
    m_textNodeSubType = subType;
    markNeighboursForFix();
    recordCommentRuleChange();
}

QString PLOutlineNode::content() const
{
    return holdsWholeText() ? m_contentText : contentView().toString();
}

void PLOutlineNode::replaceContent(qsizetype location, qsizetype length, const QString &string)
{
    const qsizetype before = m_contentLength;
    // A whole replacement shares the new text instead of copying it; any other first makes a
    // stretch of a larger text the node's own.
    if (location == 0 && length == before) {
        m_contentText = string;
    } else {
        if (!holdsWholeText())
            m_contentText = contentView().toString();
        m_contentText.replace(location, length, string);
    }
    m_contentStart = 0;
    m_contentLength = m_contentText.size();
    contentChanged();
    if (m_type != FileRoot)
        addToSubtreeLengths(m_contentLength - before);
    markForFix();
    recordCommentRuleChange();
}

void PLOutlineNode::addToSubtreeLengths(qsizetype delta)
{
    if (delta == 0)
        return;
    for (PLOutlineNode *node = this;;) {
        node->m_subtreeLength += delta;
        PLOutlineNode *parent = node->m_parent;
        if (node->m_type == FileRoot || !parent)
            return;
        if (parent->m_childLengthSumsValid)
            parent->addToChildLengthSum(parent->childSlot(node->position()), delta);
        node = parent;
    }
}

void PLOutlineNode::addToChildLengthSum(qsizetype slot, qsizetype delta) const
{
    for (size_t i = size_t(slot) + 1; i < m_childLengthSums.size(); i += i & (~i + 1))
        m_childLengthSums[i] += delta;
}

const std::vector<qsizetype> &PLOutlineNode::childLengthSums() const
{
    if (m_childLengthSumsValid)
        return m_childLengthSums;
    const qsizetype count = childCount();
    // Room for a run of insertions at the gap before the next rebuild.
    m_childLengthSumsGap = count > 0 ? std::max<qsizetype>(4, count / 8) : 0;
    const size_t slotCount = size_t(count + m_childLengthSumsGap);
    m_childLengthSums.assign(slotCount + 1, 0);
    for (qsizetype i = 0; i < count; ++i)
        m_childLengthSums[size_t(childSlot(i)) + 1] = lengthInParent(*childAt(i));
    for (size_t i = 1; i <= slotCount; ++i) {
        if (const size_t up = i + (i & (~i + 1)); up <= slotCount)
            m_childLengthSums[up] += m_childLengthSums[i];
    }
    m_childLengthSumsValid = true;
    return m_childLengthSums;
}

void PLOutlineNode::moveChildGap(qsizetype index)
{
    const qsizetype count = childCount();
    const bool sums = m_childLengthSumsValid && m_childLengthSumsGap > 0;
    while (m_childGap < index) {
        auto &entry = m_children[size_t(m_childGap + m_childStorageGap)];
        PLOutlineNode *child = entry.get();
        if (child->m_parent == this) {
            child->m_indexInParent = m_childGap;
            child->m_indexFromBack = false;
        }
        if (const qsizetype length = lengthInParent(*child); sums && length != 0) {
            addToChildLengthSum(m_childGap + m_childLengthSumsGap, -length);
            addToChildLengthSum(m_childGap, length);
        }
        if (m_childStorageGap > 0)
            m_children[size_t(m_childGap)] = std::move(entry);
        ++m_childGap;
    }
    while (m_childGap > index) {
        --m_childGap;
        PLOutlineNode *child = m_children[size_t(m_childGap)].get();
        if (child->m_parent == this) {
            child->m_indexInParent = count - m_childGap;
            child->m_indexFromBack = true;
        }
        if (const qsizetype length = lengthInParent(*child); sums && length != 0) {
            addToChildLengthSum(m_childGap, -length);
            addToChildLengthSum(m_childGap + m_childLengthSumsGap, length);
        }
        if (m_childStorageGap > 0)
            m_children[size_t(m_childGap + m_childStorageGap)] = std::move(m_children[size_t(m_childGap)]);
    }
}

void PLOutlineNode::insertIntoChildren(qsizetype index, const std::shared_ptr<PLOutlineNode> &node, bool owned)
{
    moveChildGap(index);
    if (m_childStorageGap == 0) {
        // Room for a run of insertions here.
        m_childStorageGap = std::max<qsizetype>(4, childCount() / 8);
        m_children.insert(m_children.begin() + index, size_t(m_childStorageGap), nullptr);
    }
    m_children[size_t(index)] = node;
    --m_childStorageGap;
    if (owned) {
        node->m_parent = this;
        node->m_indexInParent = index;
        node->m_indexFromBack = false;
    }
    ++m_childGap;
    if (m_childLengthSumsValid && m_childLengthSumsGap == 0) {
        m_childLengthSumsValid = false;
    } else if (m_childLengthSumsValid) {
        addToChildLengthSum(index, lengthInParent(*node));
        --m_childLengthSumsGap;
    }
}

void PLOutlineNode::eraseFromChildren(qsizetype index, qsizetype count)
{
    moveChildGap(index);
    if (m_childLengthSumsValid) {
        for (qsizetype i = index; i < index + count; ++i)
            addToChildLengthSum(i + m_childLengthSumsGap, -lengthInParent(*childAt(i)));
        m_childLengthSumsGap += count;
    }
    for (qsizetype i = index; i < index + count; ++i)
        m_children[size_t(i + m_childStorageGap)].reset();
    m_childStorageGap += count;
}

const std::vector<std::shared_ptr<PLOutlineNode>> &PLOutlineNode::children() const
{
    if (m_childStorageGap > 0) {
        const auto gap = m_children.begin() + m_childGap;
        m_children.erase(gap, gap + m_childStorageGap);
        m_childStorageGap = 0;
    }
    return m_children;
}

qsizetype PLOutlineNode::indexOfChild(const PLOutlineNode *node) const
{
    const auto found = std::find_if(m_children.begin(), m_children.end(), [node](const auto &child) { return child.get() == node; });
    const qsizetype entry = found - m_children.begin();
    if (found == m_children.end())
        return childCount();
    return entry < m_childGap ? entry : entry - m_childStorageGap;
}

PLOutlineNode *PLOutlineNode::nodeAtLocation(qsizetype location, qsizetype *start) const
{
    if (childCount() == 0)
        return nullptr;
    const PLOutlineNode *node = this;
    qsizetype nodeStart = 0;
    if (location > m_subtreeLength) {
        // Past the end: the last node of the file's walk.
        node = lastChild();
        while (!node->isFileReference() && node->lastChild() && node->lastChild()->m_type != FileRoot)
            node = node->lastChild();
        *start = m_subtreeLength - node->contentLength();
        return const_cast<PLOutlineNode *>(node);
    }
    for (;;) {
        const qsizetype ownLength = node == this ? 0 : node->contentLength();
        if (node != this && nodeStart + ownLength >= location)
            break;
        // The first child whose part of the text ends at or after the location.
        const qsizetype wanted = location - nodeStart - ownLength;
        const auto &sums = node->childLengthSums();
        const size_t slotCount = sums.size() - 1;
        size_t before = 0;
        qsizetype below = 0;
        if (wanted > 0) {
            for (size_t step = std::bit_floor(slotCount); step > 0; step >>= 1) {
                if (before + step <= slotCount && below + sums[before + step] < wanted) {
                    before += step;
                    below += sums[before];
                }
            }
        }
        // Only the first child, wanted at the very start, can be looked for among the empty slots.
        const qsizetype gap = node->m_childGap;
        const qsizetype slot = qsizetype(before);
        const qsizetype index = slot < gap ? slot : std::max(gap, slot - node->m_childLengthSumsGap);
        if (index >= node->childCount())
            break;
        nodeStart += ownLength + below;
        node = node->childAt(index).get();
    }
    *start = nodeStart;
    return const_cast<PLOutlineNode *>(node);
}

PLOutlineNode *PLOutlineNode::fileRootNode() const
{
    const PLOutlineNode *node = this;
    while (node->m_type != FileRoot && node->m_parent)
        node = node->m_parent;
    return node->m_type == FileRoot ? const_cast<PLOutlineNode *>(node) : nullptr;
}

void PLOutlineNode::recordCommentRuleChange()
{
    PLOutlineNode *root = fileRootNode();
    if (!root || root == this || root->m_commentRuleNeedsEverything)
        return;
    if (auto self = weak_from_this(); !self.expired())
        root->m_commentRuleChanges.push_back(std::move(self));
}

std::vector<std::shared_ptr<PLOutlineNode>> PLOutlineNode::takeCommentRuleChanges(bool *everything)
{
    *everything = std::exchange(m_commentRuleNeedsEverything, false);
    std::vector<std::shared_ptr<PLOutlineNode>> changed;
    for (const auto &weak : std::exchange(m_commentRuleChanges, {})) {
        if (auto node = weak.lock())
            changed.push_back(std::move(node));
    }
    return changed;
}

PLOutlineNode *PLOutlineNode::traversePredecessor() const
{
    const qsizetype index = indexInParent();
    if (PLOutlineNode *node = index > 0 ? m_parent->childAt(index - 1).get() : nullptr) {
        while (!node->isFileReference() && node->lastChild() && node->lastChild()->m_type != FileRoot)
            node = node->lastChild();
        return node;
    }
    return m_parent && m_parent->m_type != FileRoot ? m_parent : nullptr;
}

void PLOutlineNode::listForFix()
{
    for (PLOutlineNode *node = this; !node->m_listedForFix;) {
        PLOutlineNode *parent = node->m_parent;
        if (node->m_type == FileRoot || !parent) {
            if (node->m_type == FileRoot)
                rootsWaitingForFix().insert(node);
            return;
        }
        parent->m_childrenToFix.push_back(node);
        node->m_listedForFix = true;
        node = parent;
    }
}

void PLOutlineNode::markForFix()
{
    m_needsFix = true;
    listForFix();
}

void PLOutlineNode::markLastDescendantsForFix()
{
    // Their walk goes on past this node's subtree, to whatever follows it now.
    for (PLOutlineNode *node = this;;) {
        node->markForFix();
        if (!node->lastChild() || node->lastChild()->m_type == FileRoot)
            return;
        node = node->lastChild();
    }
}

void PLOutlineNode::markNeighboursForFix()
{
    // Whoever reads this node's kind: itself, the node whose next step lands here, the left
    // sibling, and the children that compare their level with it.
    markForFix();
    if (const qsizetype index = indexInParent(); index > 0)
        m_parent->childAt(index - 1)->markLastDescendantsForFix();
    else if (m_parent)
        m_parent->markForFix();
    for (const auto &child : m_children) {
        if (child && child->m_type != FileRoot)
            child->markForFix();
    }
}

void PLOutlineNode::unlistFromParent()
{
    if (!m_listedForFix)
        return;
    m_listedForFix = false;
    if (m_parent) {
        // The latest listed are the likeliest to leave again: a renesting pass lists the nodes it
        // has just been through.
        auto &listed = m_parent->m_childrenToFix;
        listed.erase(std::next(std::find(listed.rbegin(), listed.rend(), this)).base());
    }
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::share() const
{
    return std::const_pointer_cast<PLOutlineNode>(shared_from_this());
}

void PLOutlineNode::setContent(const QString &content)
{
    replaceContent(0, m_contentLength, content);
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::childAtIndex(qsizetype index) const
{
    if (index < 0 || index >= childCount())
        return nullptr;
    return childAt(index);
}

std::vector<std::shared_ptr<PLOutlineNode>> PLOutlineNode::includedRoots() const
{
    std::vector<std::shared_ptr<PLOutlineNode>> roots;
    std::copy_if(m_children.begin(), m_children.end(), std::back_inserter(roots),
                 [](const auto &child) { return child && child->m_type == FileRoot; });
    return roots;
}

bool PLOutlineNode::hasChild(const PLOutlineNode *node) const
{
    if (!node)
        return false;
    if (node->m_parent == this)
        return true;
    // Roots are appended without becoming the include node's own, so they are looked for.
    return node->m_type == FileRoot
        && std::any_of(m_children.begin(), m_children.end(), [node](const auto &child) { return child.get() == node; });
}

void PLOutlineNode::detachFromParent()
{
    PLOutlineNode *parent = m_parent;
    if (!parent)
        return;
    // The parent's list may hold the last share of this node.
    const auto self = share();
    qsizetype index = position();
    if (m_type != FileRoot) {
        if (PLOutlineNode *after = nextNodeAfterSubtree())
            after->recordCommentRuleChange();
        if (index > 0 && index < parent->childCount())
            parent->childAt(index - 1)->markLastDescendantsForFix();
        else
            parent->markForFix();
    }
    unlistFromParent();
    if (index < 0 || index >= parent->childCount() || parent->childAt(index).get() != this)
        index = parent->indexOfChild(this);
    if (index < parent->childCount())
        parent->eraseFromChildren(index, 1);
    m_parent = nullptr;
    m_indexInParent = -1;
    m_indexFromBack = false;
    if (m_type != FileRoot)
        parent->addToSubtreeLengths(-m_subtreeLength);
}

void PLOutlineNode::childInserted(qsizetype index)
{
    PLOutlineNode *child = childAt(index).get();
    if (child->m_type == FileRoot) {
        // An include node's next step is its first child.
        markForFix();
        return;
    }
    addToSubtreeLengths(child->m_subtreeLength);
    markAroundPlacedChild(index);
}

void PLOutlineNode::markAroundPlacedChild(qsizetype index)
{
    PLOutlineNode *child = childAt(index).get();
    if (index > 0)
        childAt(index - 1)->markLastDescendantsForFix();
    else
        markForFix();
    child->markLastDescendantsForFix();
    for (const auto &grandchild : child->m_children) {
        if (grandchild && grandchild->m_type != FileRoot)
            grandchild->markForFix();
    }
    child->recordCommentRuleChange();
}

void PLOutlineNode::addChild(const std::shared_ptr<PLOutlineNode> &node)
{
    if (!node || node.get() == this || hasChild(node.get()))
        return;
    if (node->m_type == FileRoot) {
        insertIntoChildren(childCount(), node, false);
        childInserted(childCount() - 1);
        return;
    }
    node->detachFromParent();
    insertIntoChildren(childCount(), node, true);
    childInserted(childCount() - 1);
}

void PLOutlineNode::insertChild(const std::shared_ptr<PLOutlineNode> &node, qsizetype index)
{
    if (!node || node.get() == this || hasChild(node.get()))
        return;
    node->detachFromParent();
    index = std::clamp<qsizetype>(index, 0, childCount());
    insertIntoChildren(index, node, true);
    childInserted(index);
}

void PLOutlineNode::replaceChild(const std::shared_ptr<PLOutlineNode> &node, const std::shared_ptr<PLOutlineNode> &replacement)
{
    if (!node || !replacement || node->m_parent != this || node->m_type == FileRoot || replacement->m_type == FileRoot
        || replacement.get() == this || hasChild(replacement.get())) {
        insertChild(replacement, node ? node->indexInParent() : childCount());
        removeChild(node);
        return;
    }
    replacement->detachFromParent();
    // The place the two share, as a removal and an insertion there would leave it, without moving
    // the siblings after it.
    const qsizetype index = node->position();
    if (PLOutlineNode *after = node->nextNodeAfterSubtree())
        after->recordCommentRuleChange();
    node->unlistFromParent();
    const auto kept = std::exchange(m_children[size_t(index < m_childGap ? index : index + m_childStorageGap)], replacement);
    replacement->m_parent = this;
    replacement->m_indexInParent = node->m_indexInParent;
    replacement->m_indexFromBack = node->m_indexFromBack;
    node->m_parent = nullptr;
    node->m_indexInParent = -1;
    node->m_indexFromBack = false;
    const qsizetype delta = replacement->m_subtreeLength - kept->m_subtreeLength;
    if (m_childLengthSumsValid)
        addToChildLengthSum(childSlot(index), delta);
    addToSubtreeLengths(delta);
    markAroundPlacedChild(index);
}

void PLOutlineNode::removeChild(const std::shared_ptr<PLOutlineNode> &node)
{
    if (!node || !hasChild(node.get()))
        return;
    if (node->m_parent == this) {
        node->detachFromParent();
        return;
    }
    eraseFromChildren(indexOfChild(node.get()), 1);
    markForFix();
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::leftSibling() const
{
    if (!m_parent || position() <= 0)
        return nullptr;
    return m_parent->childAtIndex(position() - 1);
}

PLOutlineNode *PLOutlineNode::rightSiblingNode() const
{
    if (!m_parent)
        return nullptr;
    const qsizetype index = position();
    if (index < 0 || index + 1 >= m_parent->childCount())
        return nullptr;
    return m_parent->childAt(index + 1).get();
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::rightSibling() const
{
    const PLOutlineNode *sibling = rightSiblingNode();
    return sibling ? sibling->share() : nullptr;
}

bool PLOutlineNode::replaceContentInRange(qsizetype location, qsizetype length, const QString &string)
{
    if (location < 0 || length < 0 || location + length > m_contentLength)
        return false;
    replaceContent(location, length, string);
    figureOutPropertiesForNode();
    return true;
}

PLOutlineNode *PLOutlineNode::nextNodeInTree() const
{
    if (childCount() > 0)
        return childAt(0).get();
    return nextNodeAfterSubtree();
}

PLOutlineNode *PLOutlineNode::nextNodeAfterSubtree() const
{
    if (PLOutlineNode *sibling = rightSiblingNode())
        return sibling;
    for (const PLOutlineNode *ancestor = m_parent; ancestor; ancestor = ancestor->m_parent) {
        if (ancestor->m_type == FileRoot)
            return nullptr;
        if (PLOutlineNode *sibling = ancestor->rightSiblingNode())
            return sibling;
    }
    return nullptr;
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::nextNode() const
{
    const PLOutlineNode *next = nextNodeInTree();
    return next ? next->share() : nullptr;
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::previousNode() const
{
    auto node = leftSibling();
    if (!node)
        return parent();
    while (node->childCount() > 0)
        node = node->childAt(node->childCount() - 1);
    return node;
}

PLOutlineNode *PLOutlineNode::traverseRightNode() const
{
    // An include node's children belong to other files. Past it the walk goes on as from any last
    // child, so an include that an edit left at the end of a section does not end the file early.
    if (isFileReference())
        return nextNodeAfterSubtree();
    return nextNodeInTree();
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::traverseRight() const
{
    const PLOutlineNode *next = traverseRightNode();
    return next ? next->share() : nullptr;
}

QString PLOutlineNode::escapedName() const
{
    QString result;
    QString rest = m_type >= Part && m_type <= Paragraph ? PLTitleMarkup::withoutHiddenMarkup(m_name) : m_name;
    for (;;) {
        const qsizetype backslash = rest.indexOf(u'\\');
        if (backslash < 0) {
            result += rest;
            break;
        }
        result += rest.left(backslash);
        const qsizetype afterBackslash = backslash + 1;
        rest = rest.mid(afterBackslash);
        const qsizetype open = rest.indexOf(u'{');
        const qsizetype close = rest.indexOf(u'}');
        const qsizetype space = rest.indexOf(u' ');
        if (space >= 0 && (open < 0 || space < open)) {
            result += rest.left(space + 1);
            rest = rest.mid(space + 1);
        } else if (open >= 0 && close >= 0 && open < close) {
            result += rest.mid(open + 1, close - open - 1);
            rest = rest.mid(close + 1);
        }
        if (rest.size() <= afterBackslash) {
            result += rest;
            break;
        }
    }
    return result;
}

QString PLOutlineNode::description() const
{
    const QString object = QStringLiteral("<PLOutlineNode: 0x%1>").arg(quintptr(this), 0, 16);
    if (m_type == FileRoot) {
        const auto owner = file();
        return object + QStringLiteral(" file node: ") + (owner ? owner->stringPath() : QString());
    }
    if (isFileReference())
        return object + QStringLiteral(" file include: ") + contentView();
    if (m_type == Text)
        return object + QStringLiteral(" | text: ") + (m_contentLength >= 11 ? contentView().first(10) : contentView());
    return object + QStringLiteral(" section node: ") + contentView();
}

void PLOutlineNode::figureOutPropertiesForNode()
{
    if (m_type == FileRoot)
        return;
    setType(Text);
    m_name = QStringLiteral("text");
    const QStringView content = contentView();
    if (content.size() < 6)
        return;
    static const std::pair<QString, quint32> headings[] = {
        {QStringLiteral("\\part{"), Part},
        {QStringLiteral("\\chapter{"), Chapter},
        {QStringLiteral("\\section{"), Section},
        {QStringLiteral("\\subsection{"), Subsection},
    };
    for (const auto &[prefix, type] : headings) {
        if (!content.startsWith(prefix))
            continue;
        const qsizetype close = content.lastIndexOf(u'}');
        if (close < 0)
            return;
        setType(type);
        m_name = content.sliced(prefix.size(), close - prefix.size()).toString();
        return;
    }
}

bool PLOutlineNode::isLastLineCommented() const
{
    if (m_lastLineCommented < 0)
        m_lastLineCommented = PLLatexStringParser::isLineCommentedInString(contentView(), m_contentLength) ? 1 : 0;
    return m_lastLineCommented == 1;
}

void PLOutlineNode::fixTree()
{
    RootSet fixedRoots;
    fixTree(fixedRoots);
}

void PLOutlineNode::fixTree(RootSet &fixedRoots)
{
    // A file reached through several include nodes is renested once per pass.
    if (m_type == FileRoot && !fixedRoots.insert(this).second)
        return;
    // A root has no step of its own.
    m_needsFix = false;
    if (m_type != FileRoot)
        fixStep();
    // Every child is visited, so none stays listed unless a step lists it again.
    for (PLOutlineNode *listed : std::exchange(m_childrenToFix, {}))
        listed->m_listedForFix = false;
    // A pass only removes nodes that follow the one it works on, never that node or its ancestors,
    // so the child stays alive while it is renested.
    for (qsizetype i = childCount() - 1; i >= 0; --i) {
        if (i < childCount()) {
            PLOutlineNode *child = childAt(i).get();
            child->unlistFromParent();
            child->fixTree(fixedRoots);
        }
    }
    fixDone();
}

void PLOutlineNode::fixPending()
{
    if (std::exchange(m_needsFix, false) && m_type != FileRoot)
        fixStep();
    // The children a whole pass would visit, from the last to the first, skipping those that have
    // nothing waiting: nodes in front of the one being renested keep their places meanwhile.
    for (qsizetype limit = childCount() - 1; limit >= 0;) {
        PLOutlineNode *next = nullptr;
        qsizetype nextIndex = -1;
        for (PLOutlineNode *listed : m_childrenToFix) {
            if (const qsizetype index = listed->position(); index <= limit && index > nextIndex) {
                next = listed;
                nextIndex = index;
            }
        }
        if (!next)
            break;
        limit = nextIndex - 1;
        next->unlistFromParent();
        next->fixPending();
    }
    fixDone();
}

void PLOutlineNode::fixDone()
{
    // What a step changed behind the pass waits for the next one, as a whole pass would find it.
    if (m_needsFix || !m_childrenToFix.empty())
        listForFix();
    else if (m_type == FileRoot)
        rootsWaitingForFix().erase(this);
}

void PLOutlineNode::fixChangedParts()
{
    // A whole pass would go on into the included files; one with steps waiting needs it.
    auto &waiting = rootsWaitingForFix();
    if (waiting.size() > size_t(waiting.count(this))) {
        std::unordered_set<const PLFile *> seen;
        std::vector<std::shared_ptr<PLFile>> pending;
        if (const auto owner = file())
            pending.push_back(owner);
        while (!pending.empty()) {
            const auto current = std::move(pending.back());
            pending.pop_back();
            if (!current || !seen.insert(current.get()).second)
                continue;
            const auto &root = current->outlineRootNode();
            if (root && root.get() != this && waiting.count(root.get())) {
                fixTree();
                return;
            }
            for (const auto &included : current->filesInDocument())
                pending.push_back(included);
        }
    }
    fixPending();
}

void PLOutlineNode::fixStep()
{
    PLOutlineNode *next = nextNodeInTree();
    if (next && next->m_type != FileRoot && isLastLineCommented()) {
        // Every named file goes, so the text node left behind holds no other file's root.
        if (next->isFileReference()) {
            for (const auto &included : next->includedRoots()) {
                next->removeChild(included);
                if (const auto includer = next->file())
                    includer->releaseFileContainedInDocument(included->file());
            }
        }
        next->setType(Text);
        next->setTextNodeSubType(PlainText);
    }
    if (next && m_type == Text && next->m_type == Text && !isFileReference() && !next->isFileReference()) {
        const auto merged = next->share();
        replaceContent(m_contentLength, 0, merged->content());
        if (merged->m_parent)
            merged->m_parent->removeChild(merged);
        // Whatever still hangs below the merged node follows its text, so it stays in order here.
        qsizetype at = 0;
        for (const auto &child : std::vector(merged->m_children)) {
            if (child && child->m_type != FileRoot)
                insertChild(child, at++);
        }
        next = nullptr;
    }
    // A deeper right sibling goes with the run below.
    if (next && next->m_type != FileRoot && next->m_type > m_type && !hasChild(next) && next != rightSiblingNode())
        addChild(next->share());
    // A heading takes in the deeper nodes that follow it at every level it climbs through, so
    // the nodes after it never end up in front of it.
    for (;;) {
        takeDeeperSiblings();
        PLOutlineNode *up = m_parent;
        PLOutlineNode *grandparent = up ? up->m_parent : nullptr;
        if (!grandparent || m_type > up->m_type)
            break;
        grandparent->insertChild(share(), up->position() + 1);
    }
}

void PLOutlineNode::takeDeeperSiblings()
{
    PLOutlineNode *parent = m_parent;
    if (!parent)
        return;
    const qsizetype first = position() + 1;
    qsizetype end = first;
    while (end < parent->childCount() && parent->childAt(end)->m_type > m_type)
        ++end;
    if (end == first)
        return;
    // The run leaves its parent in one piece; the marks and records below are the ones that moving
    // its nodes one by one would leave, made in the same order.
    std::vector<std::shared_ptr<PLOutlineNode>> run;
    for (qsizetype i = first; i < end; ++i)
        run.push_back(parent->childAt(i));
    PLOutlineNode *afterRun = run.back()->nextNodeAfterSubtree();
    qsizetype runLength = 0;
    for (const auto &node : run) {
        node->unlistFromParent();
        runLength += node->m_subtreeLength;
    }
    parent->eraseFromChildren(first, end - first);
    const qsizetype kept = childCount();
    for (const auto &node : run)
        insertIntoChildren(childCount(), node, true);
    parent->addToSubtreeLengths(-runLength);
    addToSubtreeLengths(runLength);
    for (size_t k = 0; k < run.size(); ++k) {
        if (PLOutlineNode *after = k + 1 < run.size() ? run[k + 1].get() : afterRun)
            after->recordCommentRuleChange();
        const qsizetype index = kept + qsizetype(k);
        // Leaving its old place marked this node; the new place marks what a placed child does.
        markForFix();
        markAroundPlacedChild(index);
    }
}
