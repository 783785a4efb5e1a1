#pragma once

#include <QList>
#include <QString>

#include <functional>
#include <memory>

class PLFile;
class PLOutlineNode;

// Finds the files and headings of a project whose names contain a typed text.
class PLQuickOpenManager
{
public:
    PLQuickOpenManager() = default;
    explicit PLQuickOpenManager(std::shared_ptr<PLFile> file) : m_file(std::move(file)) {}

    std::shared_ptr<PLFile> file() const { return m_file.lock(); }
    void setFile(const std::shared_ptr<PLFile> &file) { m_file = file; }

    // Called before each search: the document settles the outlines there, so a search finds the
    // headings the text holds.
    void setSearchWillBegin(std::function<void()> handler) { m_searchWillBegin = std::move(handler); }

    // Every file root and heading of the project whose name contains the text, ignoring case,
    // once each, sorted by name (case-sensitive order). The result is also kept.
    const QList<std::shared_ptr<PLOutlineNode>> &searchForString(const QString &text);
    const QList<std::shared_ptr<PLOutlineNode>> &searchResultsFromLastSearch() const { return m_results; }

private:
    // The document owns its main file; the manager only looks at it.
    std::weak_ptr<PLFile> m_file;
    QList<std::shared_ptr<PLOutlineNode>> m_results;
    std::function<void()> m_searchWillBegin;
};
