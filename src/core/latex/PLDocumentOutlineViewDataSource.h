#pragma once

#include <QString>

#include <memory>
#include <vector>

class PLFile;
class PLOutlineNode;

// The sidebar's view of a project's outline: plain text is hidden, a bibliography command shows
// one row per named file, and an include command shows the included file's root in its place.
// Items are outline nodes; the invisible top of the tree is the null item.
class PLDocumentOutlineViewDataSource
{
public:
    explicit PLDocumentOutlineViewDataSource(std::shared_ptr<PLFile> file) : m_file(std::move(file)) {}

    std::shared_ptr<PLFile> file() const { return m_file; }

    int numberOfChildrenOfItem(const PLOutlineNode *item) const;
    // Throws PLException "IndexOutOfBoundsException" for an index past both the node's raw child
    // count and its row count.
    std::shared_ptr<PLOutlineNode> childOfItem(int index, const PLOutlineNode *item) const;
    // Every row of an item in order, in one walk of its children: what childOfItem answers for each
    // index below the row count, without the rows it answers empty.
    void appendChildrenOfItem(const PLOutlineNode *item, std::vector<std::shared_ptr<PLOutlineNode>> &rows) const;
    bool isItemExpandable(const PLOutlineNode *item) const { return numberOfChildrenOfItem(item) > 0; }
    QString objectValueForItem(const PLOutlineNode *item) const;
    // Only the main file's root shows as a group row.
    bool isGroupItem(const PLOutlineNode *item) const;
    // The file name of the row's icon in the resources, or an empty string for no icon.
    QString iconResourceNameForItem(const PLOutlineNode *item) const;

    static constexpr double rowHeight = 25.0;

private:
    std::shared_ptr<PLFile> m_file;
};
