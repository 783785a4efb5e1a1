#include "PLOutlineNode.h"

#include "PLFile.h"
#include "PLLatexStringParser.h"

#include <algorithm>

PLOutlineNode::PLOutlineNode(QString name, quint32 type, QString content, const std::shared_ptr<PLFile> &file)
    : m_type(type), m_name(std::move(name)), m_content(std::move(content)), m_file(file)
{
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::create(const QString &name, quint32 type, const QString &content,
                                                     const std::shared_ptr<PLFile> &file)
{
    return std::make_shared<PLOutlineNode>(name, type, content, file);
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

std::shared_ptr<PLOutlineNode> PLOutlineNode::childAtIndex(qsizetype index) const
{
    if (index < 0 || index >= childCount())
        return nullptr;
    return m_children[size_t(index)];
}

qsizetype PLOutlineNode::indexInParent() const
{
    return m_parent.expired() ? -1 : m_indexInParent;
}

bool PLOutlineNode::hasChild(const PLOutlineNode *node) const
{
    if (!node)
        return false;
    if (node->indexInParent() >= 0 && node->parent().get() == this)
        return true;
    // Roots are appended without becoming the include node's own, so they are looked for.
    return node->m_type == FileRoot
        && std::any_of(m_children.begin(), m_children.end(), [node](const auto &child) { return child.get() == node; });
}

void PLOutlineNode::renumberChildrenFrom(qsizetype index)
{
    for (qsizetype i = std::max<qsizetype>(index, 0); i < childCount(); ++i) {
        PLOutlineNode *child = m_children[size_t(i)].get();
        if (child->m_parent.lock().get() == this)
            child->m_indexInParent = i;
    }
}

void PLOutlineNode::detachFromParent()
{
    const auto parent = m_parent.lock();
    if (!parent)
        return;
    const auto self = shared_from_this();
    qsizetype index = m_indexInParent;
    if (index < 0 || index >= parent->childCount() || parent->m_children[size_t(index)] != self)
        index = std::find(parent->m_children.begin(), parent->m_children.end(), self) - parent->m_children.begin();
    if (index < parent->childCount()) {
        parent->m_children.erase(parent->m_children.begin() + index);
        parent->renumberChildrenFrom(index);
    }
    m_parent.reset();
    m_indexInParent = -1;
}

void PLOutlineNode::addChild(const std::shared_ptr<PLOutlineNode> &node)
{
    if (!node || node.get() == this || hasChild(node.get()))
        return;
    if (node->m_type == FileRoot) {
        m_children.push_back(node);
        return;
    }
    node->detachFromParent();
    m_children.push_back(node);
    node->m_parent = weak_from_this();
    node->m_indexInParent = childCount() - 1;
}

void PLOutlineNode::insertChild(const std::shared_ptr<PLOutlineNode> &node, qsizetype index)
{
    if (!node || node.get() == this || hasChild(node.get()))
        return;
    node->detachFromParent();
    index = std::clamp<qsizetype>(index, 0, childCount());
    m_children.insert(m_children.begin() + index, node);
    node->m_parent = weak_from_this();
    renumberChildrenFrom(index);
}

void PLOutlineNode::removeChild(const std::shared_ptr<PLOutlineNode> &node)
{
    if (!node || !hasChild(node.get()))
        return;
    if (node->parent().get() == this) {
        node->detachFromParent();
        return;
    }
    const auto it = std::find(m_children.begin(), m_children.end(), node);
    const qsizetype index = it - m_children.begin();
    m_children.erase(it);
    renumberChildrenFrom(index);
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::leftSibling() const
{
    const auto parent = m_parent.lock();
    if (!parent || m_indexInParent <= 0)
        return nullptr;
    return parent->childAtIndex(m_indexInParent - 1);
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::rightSibling() const
{
    const auto parent = m_parent.lock();
    if (!parent || m_indexInParent < 0)
        return nullptr;
    return parent->childAtIndex(m_indexInParent + 1);
}

bool PLOutlineNode::replaceContentInRange(qsizetype location, qsizetype length, const QString &string)
{
    if (location < 0 || length < 0 || location + length > m_content.size())
        return false;
    m_content.replace(location, length, string);
    figureOutPropertiesForNode();
    return true;
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::nextNode() const
{
    if (!m_children.empty())
        return m_children.front();
    return nextNodeAfterSubtree();
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::nextNodeAfterSubtree() const
{
    if (auto sibling = rightSibling())
        return sibling;
    for (auto ancestor = parent(); ancestor; ancestor = ancestor->parent()) {
        if (ancestor->m_type == FileRoot)
            return nullptr;
        if (auto sibling = ancestor->rightSibling())
            return sibling;
    }
    return nullptr;
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::previousNode() const
{
    auto node = leftSibling();
    if (!node)
        return parent();
    while (!node->m_children.empty())
        node = node->m_children.back();
    return node;
}

std::shared_ptr<PLOutlineNode> PLOutlineNode::traverseRight() const
{
    // An include node's children belong to other files. Past it the walk goes on as from any last
    // child, so an include that an edit left at the end of a section does not end the file early.
    if (isFileReference())
        return nextNodeAfterSubtree();
    return nextNode();
}

QString PLOutlineNode::escapedName() const
{
    QString result;
    QString rest = m_name;
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
        return object + QStringLiteral(" file include: ") + m_content;
    if (m_type == Text)
        return object + QStringLiteral(" | text: ") + (m_content.size() >= 11 ? m_content.left(10) : m_content);
    return object + QStringLiteral(" section node: ") + m_content;
}

void PLOutlineNode::figureOutPropertiesForNode()
{
    if (m_type == FileRoot)
        return;
    m_type = Text;
    m_name = QStringLiteral("text");
    if (m_content.size() < 6)
        return;
    static const std::pair<QString, quint32> headings[] = {
        {QStringLiteral("\\part{"), Part},
        {QStringLiteral("\\chapter{"), Chapter},
        {QStringLiteral("\\section{"), Section},
        {QStringLiteral("\\subsection{"), Subsection},
    };
    for (const auto &[prefix, type] : headings) {
        if (!m_content.startsWith(prefix))
            continue;
        const qsizetype close = m_content.lastIndexOf(u'}');
        if (close < 0)
            return;
        m_type = type;
        m_name = m_content.mid(prefix.size(), close - prefix.size());
        return;
    }
}

bool PLOutlineNode::isLastLineCommented() const
{
    return PLLatexStringParser::isLineCommentedInString(m_content, m_content.size());
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
    if (m_type != FileRoot) {
        const auto self = shared_from_this();
        const auto next = nextNode();
        if (next && isLastLineCommented() && next->m_type != FileRoot) {
            if (next->isFileReference() && next->childCount() > 0) {
                const auto included = next->childAtIndex(0);
                next->removeChild(included);
                if (const auto includer = next->file())
                    includer->releaseFileContainedInDocument(included->file());
            }
            next->m_type = Text;
            next->m_textNodeSubType = PlainText;
        }
        if (next && m_type == Text && next->m_type == Text && !isFileReference() && !next->isFileReference()) {
            m_content += next->m_content;
            if (const auto nextParent = next->parent())
                nextParent->removeChild(next);
            // Whatever still hangs below the merged node follows its text, so it stays in order here.
            qsizetype at = 0;
            for (const auto &child : std::vector(next->m_children)) {
                if (child->m_type != FileRoot)
                    insertChild(child, at++);
            }
        }
        if (next && next->m_type != FileRoot && !hasChild(next.get()) && next->m_type > m_type)
            addChild(next);
        for (auto sibling = rightSibling(); sibling && sibling->m_type > m_type; sibling = rightSibling())
            addChild(sibling);
        for (auto up = parent(); up && m_type <= up->m_type; up = parent()) {
            const auto grandparent = up->parent();
            if (!grandparent)
                break;
            grandparent->insertChild(self, up->indexInParent() + 1);
        }
    }
    for (qsizetype i = childCount() - 1; i >= 0; --i) {
        if (const auto child = childAtIndex(i))
            child->fixTree(fixedRoots);
    }
}
