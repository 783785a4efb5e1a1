#pragma once

#include "core/foundation/PLRange.h"
#include "core/editor/PLTextAttributes.h"

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

// The character attributes of a text, kept as runs beside it: each run is a length and the
// attributes of its characters, and neighbouring runs always differ, so a run is the longest stretch
// with those attributes. The runs sit in a balanced tree ordered by position (a treap weighted by
// run length), so finding, painting and shifting cost O(log n) in the number of runs, not in the
// length of the text: colouring one line of a long file stays as cheap as in a short one.
class PLTextAttributeRuns
{
public:
    // A text of the given length without attributes.
    explicit PLTextAttributeRuns(qsizetype length = 0);

    qsizetype length() const;
    qsizetype runCount() const { return qsizetype(m_nodes.size() - m_free.size()); }

    // The attributes of one character and, when asked, the run it belongs to. An index outside the
    // text answers no attributes and the not-found range.
    PLTextAttributes attributesAtIndex(qsizetype index, PLRange *effectiveRange = nullptr) const;
    // Calls the block for each run that overlaps the range, clipped to it, in text order. The block
    // must not change the runs.
    void enumerateAttributes(PLRange range, const std::function<void(const PLTextAttributes &, PLRange)> &block) const;

    // Attribute edits. Ranges are clipped to the text.
    void setAttributes(const PLTextAttributes &attributes, PLRange range);
    void addAttribute(PLTextAttributeName name, const PLTextAttributeValue &value, PLRange range);
    void removeAttribute(PLTextAttributeName name, PLRange range);
    // Replaces the attributes from location on with the given runs (length, attributes), as many
    // characters as they cover; equal neighbours are fused. Costs O(k + log n) for k runs.
    void replaceRuns(qsizetype location, const std::vector<std::pair<qsizetype, PLTextAttributes>> &runs);

    // Follows a replacement of the characters in range by a text of the given length, the way
    // QString::replace treats its arguments (nothing happens past the end; the length is clipped).
    // The new characters take the attributes of the first replaced character; when nothing is
    // replaced, of the character before, or at the start of the text, of the character after.
    void replaceCharacters(PLRange range, qsizetype replacementLength);

private:
    using NodeId = std::int32_t;
    static constexpr NodeId kNil = -1;

    struct Node
    {
        qsizetype length = 0;
        qsizetype total = 0;
        NodeId left = kNil;
        NodeId right = kNil;
        std::uint32_t priority = 0;
        PLTextAttributes attributes;
    };

    NodeId newNode(qsizetype length, const PLTextAttributes &attributes);
    void freeNode(NodeId node);
    void freeTree(NodeId tree);
    void collectInOrder(NodeId tree, std::vector<NodeId> &nodes) const;
    // Makes a treap of runs given in text order, in time linear in their number.
    NodeId buildTree(const std::vector<NodeId> &nodes);
    qsizetype total(NodeId node) const { return node == kNil ? 0 : m_nodes[size_t(node)].total; }
    void update(NodeId node);
    NodeId merge(NodeId a, NodeId b);
    std::pair<NodeId, NodeId> split(NodeId tree, qsizetype position);
    // Merges two trees and fuses the runs that meet when they carry the same attributes.
    NodeId join(NodeId a, NodeId b);
    NodeId removeFirst(NodeId tree);
    NodeId firstNode(NodeId tree) const;
    NodeId lastNode(NodeId tree) const;
    void growLast(NodeId tree, qsizetype extra);
    PLRange clipped(PLRange range) const;
    // Applies a change to the attributes of every run in the range and fuses equal neighbours.
    void transform(PLRange range, const std::function<void(PLTextAttributes &)> &change);
    std::uint32_t nextPriority();

    std::vector<Node> m_nodes;
    std::vector<NodeId> m_free;
    NodeId m_root = kNil;
    // Whether the runs sit in slots 0, 1, 2... in text order, as a whole replacement leaves them, so
    // that stepping to the next run needs no walk through the tree.
    bool m_slotOrder = true;
    std::uint32_t m_seed = 0x9e3779b9u;
};
