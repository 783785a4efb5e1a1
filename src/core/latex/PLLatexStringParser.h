#pragma once

#include "PLStringParser.h"

#include <QStringList>

#include <optional>

class PLFile;

// Turns the text of one project file into a flat list of outline nodes: headings, includes,
// bibliographies and the text between them. Every include or bibliography command opens the file it
// names and hangs that file's root under the include node.
//
// A command that would include a file which already includes the file being parsed, directly or
// through other files (or the file itself), is left without a child and opens nothing, so a project
// whose files include each other still has a finite outline and an acyclic include graph. Paths are
// cleaned first, so "./a" and "a" name one file. An include nested deeper than
// maximumIncludeDepth files is left without a child as well, with a line in the log.
class PLLatexStringParser : public PLStringParser
{
public:
    // Far beyond any project TeX can typeset (it opens at most 15 files inside each other by
    // default), and well within the stack of the main thread.
    static constexpr int maximumIncludeDepth = 100;

    explicit PLLatexStringParser(const std::shared_ptr<PLFile> &file);

    std::shared_ptr<PLFile> file() const { return m_file.lock(); }

    // The nodes in text order; their contents joined give back the text.
    QList<std::shared_ptr<PLOutlineNode>> parseString(const QString &string) override;

    // Whether an unescaped comment sign stands on the line of the location, before it. Only the one
    // character before a sign is looked at, so "\\%" counts as escaped too.
    static bool isLineCommentedInString(const QString &string, qsizetype location);

    std::shared_ptr<PLOutlineNode> parseSectionString(const QString &string) const;
    // Nothing for a node that is not a text node.
    std::optional<QList<std::shared_ptr<PLOutlineNode>>> parseTextNodeForFileIncludes(const std::shared_ptr<PLOutlineNode> &node);
    std::shared_ptr<PLOutlineNode> makeFileIncludeNodeFromInputOrIncludeTag(const QString &tag);
    std::shared_ptr<PLOutlineNode> makeBibliographyNodeOfBibliographyTag(const QString &tag);

    // The sectioning names, shared by every parser.
    static const QStringList &sectioningNames();
    static const QString &headingExpression();
    static const QString &includeExpression();

private:
    std::shared_ptr<PLOutlineNode> makeTextNode(const QString &content) const;
    void appendTextNodesWithIncludes(QList<std::shared_ptr<PLOutlineNode>> &nodes, const QString &content);

    std::weak_ptr<PLFile> m_file;
};
