#include "core/editor/PLTextAttributeRuns.h"

#include <algorithm>

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
    std::vector<NodeId> pending;
    if (tree != kNil)
        pending.push_back(tree);
    while (!pending.empty()) {
        const NodeId node = pending.back();
        pending.pop_back();
        if (m_nodes[size_t(node)].left != kNil)
            pending.push_back(m_nodes[size_t(node)].left);
        if (m_nodes[size_t(node)].right != kNil)
            pending.push_back(m_nodes[size_t(node)].right);
        freeNode(node);
    }
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
    qsizetype index = clip.location;
    while (index < clip.end()) {
        PLRange run;
        const PLTextAttributes attributes = attributesAtIndex(index, &run);
        const qsizetype end = std::min(run.end(), clip.end());
        block(attributes, PLRange{index, end - index});
        index = end;
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
    const auto [before, rest] = split(m_root, clip.location);
    const auto [middle, after] = split(rest, clip.length);
    freeTree(middle);
    NodeId rebuilt = kNil;
    NodeId previous = kNil;
    qsizetype left = clip.length;
    for (const auto &[runLength, attributes] : runs) {
        const qsizetype length = std::min(std::max<qsizetype>(runLength, 0), left);
        if (length == 0)
            continue;
        left -= length;
        if (previous != kNil && m_nodes[size_t(previous)].attributes == attributes) {
            growLast(rebuilt, length);
            continue;
        }
        previous = newNode(length, attributes);
        rebuilt = merge(rebuilt, previous);
    }
    m_root = join(join(before, rebuilt), after);
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

    // Collect the runs of the range in order, change them, fuse equal neighbours and rebuild.
    std::vector<NodeId> runs;
    std::vector<NodeId> pending;
    for (NodeId node = middle; node != kNil || !pending.empty();) {
        if (node != kNil) {
            pending.push_back(node);
            node = m_nodes[size_t(node)].left;
            continue;
        }
        node = pending.back();
        pending.pop_back();
        runs.push_back(node);
        node = m_nodes[size_t(node)].right;
    }
    NodeId rebuilt = kNil;
    NodeId previous = kNil;
    for (const NodeId node : runs) {
        Node &n = m_nodes[size_t(node)];
        change(n.attributes);
        n.left = n.right = kNil;
        n.total = n.length;
        if (previous != kNil && m_nodes[size_t(previous)].attributes == n.attributes) {
            growLast(rebuilt, n.length);
            freeNode(node);
            continue;
        }
        rebuilt = merge(rebuilt, node);
        previous = node;
    }
    m_root = join(join(before, rebuilt), after);
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
}
