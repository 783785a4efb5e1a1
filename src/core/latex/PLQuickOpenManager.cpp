#include "core/latex/PLQuickOpenManager.h"

#include "core/project/PLFile.h"
#include "core/latex/PLOutlineNode.h"

#include <QSet>

#include <algorithm>

const QList<std::shared_ptr<PLOutlineNode>> &PLQuickOpenManager::searchForString(const QString &text)
{
    if (m_searchWillBegin)
        m_searchWillBegin();
    m_results.clear();
    const std::shared_ptr<PLFile> mainFile = m_file.lock();
    if (!mainFile)
        return m_results;

    // Breadth first over the include sets; a file already collected is not queued again, which
    // ends the walk on projects whose files include each other.
    QList<std::shared_ptr<PLFile>> files{mainFile};
    QSet<const PLFile *> seen{mainFile.get()};
    for (qsizetype next = 0; next < files.size(); ++next) {
        for (const std::shared_ptr<PLFile> &included : files[next]->filesInDocument()) {
            if (!seen.contains(included.get())) {
                seen.insert(included.get());
                files.append(included);
            }
        }
    }

    QSet<const PLOutlineNode *> found;
    for (const std::shared_ptr<PLFile> &file : files) {
        for (std::shared_ptr<PLOutlineNode> node = file->outlineRootNode(); node; node = node->traverseRight()) {
            // Titles are found by what the list shows of them as well as by their source.
            const bool matches = node->name().contains(text, Qt::CaseInsensitive)
                || (node->type() != PLOutlineNode::FileRoot && node->escapedName().contains(text, Qt::CaseInsensitive));
            if (node->type() != PLOutlineNode::Text && matches && !found.contains(node.get())) {
                found.insert(node.get());
                m_results.append(node);
            }
        }
    }
    std::stable_sort(m_results.begin(), m_results.end(),
                     [](const auto &a, const auto &b) { return a->name() < b->name(); });
    return m_results;
}
