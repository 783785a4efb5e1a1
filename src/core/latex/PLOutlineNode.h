#pragma once

#include "core/foundation/PLRange.h"

#include <QMetaType>
#include <QString>
#include <QStringView>

#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

class PLFile;

// One node of a project's structure outline. Walked in order, the nodes of one file hold that
// file's text piece by piece; the type is also the nesting level, and an include node holds the
// included file's root as its child, so one project is one tree across files.
class PLOutlineNode : public std::enable_shared_from_this<PLOutlineNode>
{
public:
    enum Type : quint32 {
        FileRoot = 0,
        Part = 1,
        Chapter = 2,
        Section = 3,
        Subsection = 4,
        Subsubsection = 5,
        Paragraph = 6,
        Text = 7,
    };
    enum TextNodeSubType : quint32 {
        PlainText = 0,
        FileInclude = 1,
        Bibliography = 2,
    };

    PLOutlineNode(QString name, quint32 type, QString content, const std::shared_ptr<PLFile> &file);
    // A node whose content is a stretch of a larger text, shared with it instead of copied.
    PLOutlineNode(QString name, quint32 type, QString text, PLRange stretch, const std::shared_ptr<PLFile> &file);
    ~PLOutlineNode();
    PLOutlineNode(const PLOutlineNode &) = delete;
    PLOutlineNode &operator=(const PLOutlineNode &) = delete;

    static std::shared_ptr<PLOutlineNode> create(const QString &name, quint32 type, const QString &content,
                                                 const std::shared_ptr<PLFile> &file);
    // A plain text node holding a stretch of the text, which it shares until its content changes.
    static std::shared_ptr<PLOutlineNode> createTextNode(const QString &text, PLRange stretch, const std::shared_ptr<PLFile> &file);
    static std::shared_ptr<PLOutlineNode> createFileIncludeNode(const QString &content, const std::shared_ptr<PLFile> &file);
    static std::shared_ptr<PLOutlineNode> createBibliographyNode(const QString &content, const std::shared_ptr<PLFile> &file);

    quint32 type() const { return m_type; }
    void setType(quint32 type);
    quint32 textNodeSubType() const { return m_textNodeSubType; }
    void setTextNodeSubType(quint32 subType);
    const QString &name() const { return m_name; }
    void setName(const QString &name) { m_name = name; }
    QString content() const;
    // The content without a copy, valid until it changes.
    QStringView contentView() const { return QStringView(m_contentText).sliced(m_contentStart, m_contentLength); }
    qsizetype contentLength() const { return m_contentLength; }
    void setContent(const QString &content);
    std::shared_ptr<PLFile> file() const { return m_file.lock(); }
    QString searchKey() const { return m_name; }

    // An include or bibliography node: its children are the roots of the files it names.
    bool isFileReference() const
    {
        return m_type == Text && (m_textNodeSubType == FileInclude || m_textNodeSubType == Bibliography);
    }

    const std::vector<std::shared_ptr<PLOutlineNode>> &children() const;
    qsizetype childCount() const { return qsizetype(m_children.size()) - m_childStorageGap; }
    std::shared_ptr<PLOutlineNode> childAtIndex(qsizetype index) const;
    // The position among the parent's children, or -1 for a node without a parent.
    qsizetype indexInParent() const { return m_parent ? position() : -1; }
    std::shared_ptr<PLOutlineNode> parent() const { return m_parent ? m_parent->shared_from_this() : nullptr; }
    bool hasChild(const PLOutlineNode *node) const;
    // The roots of the files an include or bibliography node names, in the order of the names.
    std::vector<std::shared_ptr<PLOutlineNode>> includedRoots() const;

    // A root (type 0) is only appended: it keeps no parent, so upward walks stop at its file.
    void addChild(const std::shared_ptr<PLOutlineNode> &node);
    void insertChild(const std::shared_ptr<PLOutlineNode> &node, qsizetype index);
    void removeChild(const std::shared_ptr<PLOutlineNode> &node);
    // Puts the replacement in the node's place, as inserting it there and removing the node would,
    // without moving the siblings after it.
    void replaceChild(const std::shared_ptr<PLOutlineNode> &node, const std::shared_ptr<PLOutlineNode> &replacement);

    std::shared_ptr<PLOutlineNode> leftSibling() const;
    std::shared_ptr<PLOutlineNode> rightSibling() const;

    // False, changing nothing, when the range ends past the content; otherwise the node's kind is
    // decided again from its new content.
    bool replaceContentInRange(qsizetype location, qsizetype length, const QString &string);

    // Document order, entering include nodes but never leaving a file's root upwards.
    std::shared_ptr<PLOutlineNode> nextNode() const;
    std::shared_ptr<PLOutlineNode> previousNode() const;
    // Document order within one file: include nodes are stepped over, never entered.
    std::shared_ptr<PLOutlineNode> traverseRight() const;
    // Never completed: it answers nothing.
    std::shared_ptr<PLOutlineNode> traverseLeft() const { return nullptr; }

    QString escapedName() const;
    QString description() const;
    // Decides the kind again from the content alone, knowing only \part, \chapter, \section and
    // \subsection at the very start: a narrower rule than the parser's, on purpose.
    void figureOutPropertiesForNode();
    bool isLastLineCommented() const;
    // Renests the subtree after nodes were added flat or replaced.
    void fixTree();
    // On a file's root: the same as fixTree, visiting only the nodes whose renesting may change
    // something since the last pass. Whole passes are kept when an included file waits for one.
    void fixChangedParts();

    // How much of the file's text this node and the nodes below it hold (included files left out;
    // a root counts only the nodes below it).
    qsizetype subtreeLength() const { return m_subtreeLength; }
    // On a file's root: the first node in text order whose content ends at or after the location
    // (the last node for a location past the end), with where its content begins; nothing for a
    // root without children. Steps down by subtree lengths instead of walking the file.
    PLOutlineNode *nodeAtLocation(qsizetype location, qsizetype *start) const;

    // On a file's root: the nodes whose content, kind or place changed since the last call, whose
    // own and following nodes' comment state must be looked at again; everything when the outline
    // was built afresh since.
    std::vector<std::shared_ptr<PLOutlineNode>> takeCommentRuleChanges(bool *everything);
    // The node whose traverseRight step lands here, or nothing at the start of a file.
    PLOutlineNode *traversePredecessor() const;
    PLOutlineNode *fileRootNode() const;

    // The same walks without taking shares, for the passes that visit every node of a file.
    PLOutlineNode *rightSiblingNode() const;
    PLOutlineNode *nextNodeInTree() const;
    PLOutlineNode *traverseRightNode() const;
    // The node after this one's subtree in document order, within its file.
    PLOutlineNode *nextNodeAfterSubtree() const;

private:
    using RootSet = std::unordered_set<const PLOutlineNode *>;
    void fixTree(RootSet &fixedRoots);
    void fixStep();
    void fixPending();
    void fixDone();
    void listForFix();
    void markForFix();
    void markNeighboursForFix();
    void markLastDescendantsForFix();
    void unlistFromParent();
    void recordCommentRuleChange();
    void replaceContent(qsizetype location, qsizetype length, const QString &string);
    void addToSubtreeLengths(qsizetype delta);
    void childInserted(qsizetype index);
    const std::vector<qsizetype> &childLengthSums() const;
    // The place of a child among the slots of the length sums, which keep a gap at the child gap.
    qsizetype childSlot(qsizetype index) const { return index < m_childGap ? index : index + m_childLengthSumsGap; }
    void addToChildLengthSum(qsizetype slot, qsizetype delta) const;
    // Only the children between the old and the new gap are renumbered.
    void moveChildGap(qsizetype index);
    // The node goes in at the index; an owned node takes this node as its parent.
    void insertIntoChildren(qsizetype index, const std::shared_ptr<PLOutlineNode> &node, bool owned);
    void eraseFromChildren(qsizetype index, qsizetype count);
    qsizetype position() const { return m_indexFromBack ? m_parent->childCount() - m_indexInParent : m_indexInParent; }
    const std::shared_ptr<PLOutlineNode> &childAt(qsizetype index) const
    {
        return m_children[size_t(index < m_childGap ? index : index + m_childStorageGap)];
    }
    PLOutlineNode *lastChild() const { return m_children.size() > size_t(m_childStorageGap) ? childAt(childCount() - 1).get() : nullptr; }
    qsizetype indexOfChild(const PLOutlineNode *node) const;
    std::shared_ptr<PLOutlineNode> share() const;
    // The content is all of its text, not a stretch of a larger one.
    bool holdsWholeText() const { return m_contentStart == 0 && m_contentLength == m_contentText.size(); }
    void contentChanged() { m_lastLineCommented = -1; }
    void detachFromParent();
    // A child just placed at the index: the nodes whose next step it changes are fixed again.
    void markAroundPlacedChild(qsizetype index);
    // Takes in the run of deeper nodes that directly follow this one among its siblings.
    void takeDeeperSiblings();

    quint32 m_type;
    quint32 m_textNodeSubType = PlainText;
    QString m_name;
    // The content is a stretch of this text. A node parsed from a file shares the file's text as
    // read until its own content changes: a project's text nodes hold most of its text, and
    // copying them once more cost a tenth of opening it.
    QString m_contentText;
    qsizetype m_contentStart = 0;
    qsizetype m_contentLength = 0;
    std::weak_ptr<PLFile> m_file;
    // The children in order, with m_childStorageGap empty entries at the child gap for insertions
    // there; closed when the list is handed out.
    mutable std::vector<std::shared_ptr<PLOutlineNode>> m_children;
    mutable qsizetype m_childStorageGap = 0;
    // Not owning; a parent clears it in its children when it goes.
    PLOutlineNode *m_parent = nullptr;
    // The position in the parent's list, counted from its end when the node stands at or behind the
    // parent's child gap, so that sibling steps cost no search and a change at the gap renumbers
    // no sibling.
    qsizetype m_indexInParent = -1;
    bool m_indexFromBack = false;
    // Children before this index count their position from the front of the list, the rest from
    // its back. Edits of one place keep meeting the gap there.
    qsizetype m_childGap = 0;
    // The answer of isLastLineCommented for the current content; -1 until asked.
    mutable qint8 m_lastLineCommented = -1;

    qsizetype m_subtreeLength;
    // A Fenwick tree over the children's subtree lengths with empty slots at the child gap, which
    // insertions there fill and removals there add to; rebuilt only when the empty slots run out.
    mutable std::vector<qsizetype> m_childLengthSums;
    mutable qsizetype m_childLengthSumsGap = 0;
    mutable bool m_childLengthSumsValid = false;

    // This node's renesting step may act; its listed children hold such nodes below them.
    bool m_needsFix = false;
    bool m_listedForFix = false;
    std::vector<PLOutlineNode *> m_childrenToFix;

    // On a root: nodes changed since the comment rule last looked.
    std::vector<std::weak_ptr<PLOutlineNode>> m_commentRuleChanges;
    bool m_commentRuleNeedsEverything = true;
};

Q_DECLARE_METATYPE(std::shared_ptr<PLOutlineNode>)
