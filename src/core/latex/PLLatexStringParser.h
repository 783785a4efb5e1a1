#pragma once

#include "core/foundation/PLRange.h"
#include "core/latex/PLStringParser.h"

#include <QStringList>

#include <functional>
#include <optional>
#include <vector>

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

    // While off, include and bibliography nodes are made without opening the files they name, so
    // they stay without children: the outline a parse would give, at no cost to the project.
    void setOpensIncludedFiles(bool opens) { m_opensIncludedFiles = opens; }

    // The nodes in text order; their contents joined give back the text.
    QList<std::shared_ptr<PLOutlineNode>> parseString(const QString &string) override;

    // Whether an unescaped comment sign stands on the line of the location, before it. Only the one
    // character before a sign is looked at, so "\\%" counts as escaped too.
    static bool isLineCommentedInString(QStringView string, qsizetype location);

    // The include or bibliography node of one command found by a parse, opening the files it names
    // as the parse would have; nothing for any other text.
    std::shared_ptr<PLOutlineNode> parseFileReference(const QString &command);

    std::shared_ptr<PLOutlineNode> parseSectionString(const QString &string) const;
    // Nothing for a node that is not a text node.
    std::optional<QList<std::shared_ptr<PLOutlineNode>>> parseTextNodeForFileIncludes(const std::shared_ptr<PLOutlineNode> &node);
    std::shared_ptr<PLOutlineNode> makeFileIncludeNodeFromInputOrIncludeTag(const QString &tag);
    std::shared_ptr<PLOutlineNode> makeBibliographyNodeOfBibliographyTag(const QString &tag);

    // The sectioning names, shared by every parser.
    static const QStringList &sectioningNames();
    // The first heading command in the range that opens its title or short title: a backslash, a
    // sectioning name, an optional star, then "{" or "[".
    static PLRange headingCommandInRange(const QString &text, PLRange range);
    // The first \input, \include or \bibliography command in the range whose argument closes on
    // its line: through the first "}" after the argument's first character.
    static PLRange fileReferenceInRange(const QString &text, PLRange range);

private:
    // The same search, noting on the way each backslash that may start an include command (one
    // followed by "in" or "bi"), so that the text it passed is searched for includes only where
    // one may start.
    static PLRange headingCommandInRange(const QString &text, PLRange range, std::vector<qsizetype> *includeStarts);
    std::shared_ptr<PLOutlineNode> makeTextNode(const QString &text, qsizetype from, qsizetype to) const;
    // The text and include nodes of the range of the text, asking the callback whether a place in
    // the text stands on a commented line.
    void appendTextNodesWithIncludes(QList<std::shared_ptr<PLOutlineNode>> &nodes, const QString &text, PLRange range,
                                     const std::function<bool(qsizetype)> &isLineCommented);

    std::weak_ptr<PLFile> m_file;
    bool m_opensIncludedFiles = true;
};
