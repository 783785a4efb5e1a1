#include "core/editor/PLTextAttributeRuns.h"

#include <algorithm>
#include <numeric>
#include <tuple>

PLTextAttributeRuns::PLTextAttributeRuns(qsizetype length)
{
    if (length > 0)
        m_root = newNode(length, PLTextAttributes());
}

qsizetype PLTextAttributeRuns::length() const
{
    return total(m_root);
}

std::uint32_t PLTextAttributeRuns::nextPriority()
{
    // xorshift32: priorities only need to look random to keep the tree balanced.
    m_seed ^= m_seed << 13;
    m_seed ^= m_seed >> 17;
    m_seed ^= m_seed << 5;
    return m_seed;
}

PLTextAttributeRuns::NodeId PLTextAttributeRuns::newNode(qsizetype length, const PLTextAttributes &attributes)
{
    Node node;
    node.length = length;
    node.total = length;
    node.priority = nextPriority();
    node.attributes = attributes;
    if (!m_free.empty()) {
        const NodeId id = m_free.back();
        m_free.pop_back();
        m_nodes[size_t(id)] = std::move(node);
        return id;
    }
    m_nodes.push_back(std::move(node));
    return NodeId(m_nodes.size() - 1);
}

void PLTextAttributeRuns::freeNode(NodeId node)
{
    // Release the attributes now rather than when the slot is reused.
    m_nodes[size_t(node)].attributes = PLTextAttributes();
    m_free.push_back(node);
}

void PLTextAttributeRuns::freeTree(NodeId tree)
{
    std::vector<NodeId> nodes;
    collectInOrder(tree, nodes);
    for (const NodeId node : nodes)
        freeNode(node);
}

void PLTextAttributeRuns::collectInOrder(NodeId tree, std::vector<NodeId> &nodes) const
{
    std::vector<NodeId> ancestors;
    for (NodeId node = tree; node != kNil || !ancestors.empty();) {
        if (node != kNil) {
            ancestors.push_back(node);
            node = m_nodes[size_t(node)].left;
            continue;
        }
        node = ancestors.back();
        ancestors.pop_back();
        nodes.push_back(node);
        node = m_nodes[size_t(node)].right;
    }
}

PLTextAttributeRuns::NodeId PLTextAttributeRuns::buildTree(const std::vector<NodeId> &nodes)
{
    // The treap of runs already in text order, built in one sweep: the right spine is kept on a
    // stack, and each new run becomes the parent of the spine nodes it outranks.
    std::vector<NodeId> spine;
    for (const NodeId node : nodes) {
        NodeId below = kNil;
        while (!spine.empty() && m_nodes[size_t(spine.back())].priority < m_nodes[size_t(node)].priority) {
            below = spine.back();
            spine.pop_back();
            update(below);
        }
        Node &n = m_nodes[size_t(node)];
        n.left = below;
        n.right = kNil;
        if (!spine.empty())
            m_nodes[size_t(spine.back())].right = node;
        spine.push_back(node);
    }
    for (auto it = spine.rbegin(); it != spine.rend(); ++it)
        update(*it);
    return spine.empty() ? kNil : spine.front();
}

void PLTextAttributeRuns::update(NodeId node)
{
    Node &n = m_nodes[size_t(node)];
    n.total = n.length + total(n.left) + total(n.right);
}

PLTextAttributeRuns::NodeId PLTextAttributeRuns::merge(NodeId a, NodeId b)
{
    if (a == kNil)
        return b;
    if (b == kNil)
        return a;
    if (m_nodes[size_t(a)].priority > m_nodes[size_t(b)].priority) {
        const NodeId right = merge(m_nodes[size_t(a)].right, b);
        m_nodes[size_t(a)].right = right;
        update(a);
        return a;
    }
    const NodeId left = merge(a, m_nodes[size_t(b)].left);
    m_nodes[size_t(b)].left = left;
    update(b);
    return b;
}

std::pair<PLTextAttributeRuns::NodeId, PLTextAttributeRuns::NodeId> PLTextAttributeRuns::split(NodeId tree,
                                                                                           qsizetype position)
{
    if (tree == kNil)
        return {kNil, kNil};
    const qsizetype leftTotal = total(m_nodes[size_t(tree)].left);
    if (position <= leftTotal) {
        const auto [a, b] = split(m_nodes[size_t(tree)].left, position);
        m_nodes[size_t(tree)].left = b;
        update(tree);
        return {a, tree};
    }
    const qsizetype nodeEnd = leftTotal + m_nodes[size_t(tree)].length;
    if (position >= nodeEnd) {
        const auto [a, b] = split(m_nodes[size_t(tree)].right, position - nodeEnd);
        m_nodes[size_t(tree)].right = a;
        update(tree);
        return {tree, b};
    }
    // The position falls inside this run: cut it in two.
    const qsizetype offset = position - leftTotal;
    const NodeId tail = newNode(m_nodes[size_t(tree)].length - offset, m_nodes[size_t(tree)].attributes);
    const NodeId right = m_nodes[size_t(tree)].right;
    m_nodes[size_t(tree)].length = offset;
    m_nodes[size_t(tree)].right = kNil;
    update(tree);
    return {tree, merge(tail, right)};
}

PLTextAttributeRuns::NodeId PLTextAttributeRuns::firstNode(NodeId tree) const
{
    while (tree != kNil && m_nodes[size_t(tree)].left != kNil)
        tree = m_nodes[size_t(tree)].left;
    return tree;
}

PLTextAttributeRuns::NodeId PLTextAttributeRuns::lastNode(NodeId tree) const
{
    while (tree != kNil && m_nodes[size_t(tree)].right != kNil)
        tree = m_nodes[size_t(tree)].right;
    return tree;
}

PLTextAttributeRuns::NodeId PLTextAttributeRuns::removeFirst(NodeId tree)
{
    if (m_nodes[size_t(tree)].left == kNil) {
        const NodeId right = m_nodes[size_t(tree)].right;
        freeNode(tree);
        return right;
    }
    const NodeId left = removeFirst(m_nodes[size_t(tree)].left);
    m_nodes[size_t(tree)].left = left;
    update(tree);
    return tree;
}

void PLTextAttributeRuns::growLast(NodeId tree, qsizetype extra)
{
    for (NodeId node = tree; node != kNil; node = m_nodes[size_t(node)].right) {
        m_nodes[size_t(node)].total += extra;
        if (m_nodes[size_t(node)].right == kNil)
            m_nodes[size_t(node)].length += extra;
    }
}

PLTextAttributeRuns::NodeId PLTextAttributeRuns::join(NodeId a, NodeId b)
{
    if (a == kNil)
        return b;
    if (b == kNil)
        return a;
    const NodeId first = firstNode(b);
    if (m_nodes[size_t(lastNode(a))].attributes == m_nodes[size_t(first)].attributes) {
        const qsizetype extra = m_nodes[size_t(first)].length;
        b = removeFirst(b);
        growLast(a, extra);
    }
    return merge(a, b);
}

PLRange PLTextAttributeRuns::clipped(PLRange range) const
{
    const qsizetype textLength = length();
    qsizetype start = range.location;
    qsizetype count = range.length;
    if (start < 0) {
        count += start;
        start = 0;
    }
    if (start >= textLength || count <= 0)
        return PLRange{std::min(start, textLength), 0};
    return PLRange{start, std::min(count, textLength - start)};
}

PLTextAttributes PLTextAttributeRuns::attributesAtIndex(qsizetype index, PLRange *effectiveRange) const
{
    if (index < 0 || index >= length()) {
        if (effectiveRange)
            *effectiveRange = PLNotFoundRange;
        return PLTextAttributes();
    }
    NodeId node = m_root;
    qsizetype base = 0;
    for (;;) {
        const Node &n = m_nodes[size_t(node)];
        const qsizetype leftTotal = total(n.left);
        if (index < base + leftTotal) {
            node = n.left;
        } else if (index < base + leftTotal + n.length) {
            if (effectiveRange)
                *effectiveRange = PLRange{base + leftTotal, n.length};
            return n.attributes;
        } else {
            base += leftTotal + n.length;
            node = n.right;
        }
    }
}

void PLTextAttributeRuns::enumerateAttributes(PLRange range,
                                              const std::function<void(const PLTextAttributes &, PLRange)> &block) const
{
    const PLRange clip = clipped(range);
    if (clip.length == 0)
        return;
    // Descend to the run holding the start once, then step through the runs in order, so a range
    // of k runs costs O(k + log n) rather than a descent per run. The ancestors whose left side
    // is being walked wait on the stack.
    std::vector<NodeId> ancestors;
    NodeId node = m_root;
    qsizetype position = 0;
    for (;;) {
        const Node &n = m_nodes[size_t(node)];
        const qsizetype leftTotal = total(n.left);
        if (clip.location < position + leftTotal) {
            ancestors.push_back(node);
            node = n.left;
        } else if (clip.location < position + leftTotal + n.length) {
            position += leftTotal;
            break;
        } else {
            position += leftTotal + n.length;
            node = n.right;
        }
    }
    for (;;) {
        const Node &n = m_nodes[size_t(node)];
        const qsizetype from = std::max(position, clip.location);
        const qsizetype to = std::min(position + n.length, clip.end());
        block(n.attributes, PLRange{from, to - from});
        position += n.length;
        if (position >= clip.end())
            return;
        if (m_slotOrder) {
            ++node;
        } else if (n.right != kNil) {
            node = n.right;
            while (m_nodes[size_t(node)].left != kNil) {
                ancestors.push_back(node);
                node = m_nodes[size_t(node)].left;
            }
        } else {
            node = ancestors.back();
            ancestors.pop_back();
        }
    }
}

void PLTextAttributeRuns::setAttributes(const PLTextAttributes &attributes, PLRange range)
{
    const PLRange clip = clipped(range);
    if (clip.length == 0)
        return;
    const auto [before, rest] = split(m_root, clip.location);
    const auto [middle, after] = split(rest, clip.length);
    freeTree(middle);
    const NodeId run = newNode(clip.length, attributes);
    m_root = join(join(before, run), after);
    m_slotOrder = false;
}

void PLTextAttributeRuns::replaceRuns(qsizetype location,
                                      const std::vector<std::pair<qsizetype, PLTextAttributes>> &runs)
{
    qsizetype covered = 0;
    for (const auto &run : runs)
        covered += std::max<qsizetype>(run.first, 0);
    const PLRange clip = clipped(PLRange{location, covered});
    if (clip.length == 0 || clip.location != location)
        return;
    // The new runs take over the replaced runs' slots and priorities in order: storing attributes
    // a run already shares costs nothing, and a range coloured again the same way keeps its shape.
    // A whole text takes every slot in slot order, which its last whole replacement left in text
    // order, without walking the tree.
    NodeId before = kNil;
    NodeId after = kNil;
    std::vector<NodeId> replaced;
    const bool whole = clip.length == length();
    if (whole) {
        replaced.resize(m_nodes.size());
        std::iota(replaced.begin(), replaced.end(), NodeId(0));
        m_free.clear();
    } else {
        NodeId rest = kNil;
        NodeId middle = kNil;
        std::tie(before, rest) = split(m_root, clip.location);
        std::tie(middle, after) = split(rest, clip.length);
        collectInOrder(middle, replaced);
    }
    std::vector<NodeId> rebuilt;
    rebuilt.reserve(runs.size());
    size_t reused = 0;
    qsizetype left = clip.length;
    for (const auto &[runLength, attributes] : runs) {
        const qsizetype length = std::min(std::max<qsizetype>(runLength, 0), left);
        if (length == 0)
            continue;
        left -= length;
        if (!rebuilt.empty() && m_nodes[size_t(rebuilt.back())].attributes == attributes) {
            m_nodes[size_t(rebuilt.back())].length += length;
            continue;
        }
        if (reused < replaced.size()) {
            Node &node = m_nodes[size_t(replaced[reused])];
            node.length = length;
            node.attributes = attributes;
            rebuilt.push_back(replaced[reused++]);
        } else {
            rebuilt.push_back(newNode(length, attributes));
        }
    }
    for (; reused < replaced.size(); ++reused)
        freeNode(replaced[reused]);
    m_root = join(join(before, buildTree(rebuilt)), after);
    m_slotOrder = whole;
}

void PLTextAttributeRuns::transform(PLRange range, const std::function<void(PLTextAttributes &)> &change)
{
    const PLRange clip = clipped(range);
    if (clip.length == 0)
        return;
    // Repainting a token with the colour it already has is the common case when a text is
    // coloured again; it needs no cutting.
    PLRange run;
    PLTextAttributes changed = attributesAtIndex(clip.location, &run);
    if (clip.end() <= run.end()) {
        const PLTextAttributes current = changed;
        change(changed);
        if (changed == current)
            return;
    }
    const auto [before, rest] = split(m_root, clip.location);
    const auto [middle, after] = split(rest, clip.length);

    // Change the runs of the range in order, fuse equal neighbours and rebuild.
    std::vector<NodeId> runs;
    collectInOrder(middle, runs);
    std::vector<NodeId> kept;
    for (const NodeId node : runs) {
        change(m_nodes[size_t(node)].attributes);
        if (!kept.empty() && m_nodes[size_t(kept.back())].attributes == m_nodes[size_t(node)].attributes) {
            m_nodes[size_t(kept.back())].length += m_nodes[size_t(node)].length;
            freeNode(node);
            continue;
        }
        kept.push_back(node);
    }
    m_root = join(join(before, buildTree(kept)), after);
    m_slotOrder = false;
}

void PLTextAttributeRuns::addAttribute(PLTextAttributeName name, const PLTextAttributeValue &value, PLRange range)
{
    transform(range, [&](PLTextAttributes &attributes) { attributes.setValue(name, value); });
}

void PLTextAttributeRuns::removeAttribute(PLTextAttributeName name, PLRange range)
{
    transform(range, [&](PLTextAttributes &attributes) { attributes.removeValue(name); });
}

void PLTextAttributeRuns::replaceCharacters(PLRange range, qsizetype replacementLength)
{
    const qsizetype textLength = length();
    if (range.location < 0 || range.location > textLength)
        return;
    const qsizetype replaced = std::clamp<qsizetype>(range.length, 0, textLength - range.location);
    PLTextAttributes inherited;
    if (replaced > 0)
        inherited = attributesAtIndex(range.location);
    else if (range.location > 0)
        inherited = attributesAtIndex(range.location - 1);
    else
        inherited = attributesAtIndex(0);

    const auto [before, rest] = split(m_root, range.location);
    const auto [middle, after] = split(rest, replaced);
    freeTree(middle);
    const NodeId inserted = replacementLength > 0 ? newNode(replacementLength, inherited) : kNil;
    m_root = join(join(before, inserted), after);
    m_slotOrder = false;
}
