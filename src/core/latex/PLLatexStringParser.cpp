#include "core/latex/PLLatexStringParser.h"

#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "core/foundation/PLBracedCommandScan.h"
#include "core/foundation/PLLogging.h"
#include "core/latex/PLOutlineNode.h"
#include "core/foundation/PLStringLineCalculations.h"

#include <QDir>

#include <unordered_set>
#include <vector>

namespace {

// The files whose text is being parsed on this thread, outermost first: opening an included file
// parses it before the include command that named it is finished.
thread_local std::vector<const PLFile *> t_filesBeingParsed;

class PLParsingScope
{
public:
    explicit PLParsingScope(const PLFile *file) { t_filesBeingParsed.push_back(file); }
    ~PLParsingScope() { t_filesBeingParsed.pop_back(); }
    PLParsingScope(const PLParsingScope &) = delete;
    PLParsingScope &operator=(const PLParsingScope &) = delete;
};

// Opening an included file parses it inside the include command that names it, so a chain of files
// each including the next would use the stack as deep as the chain is long.
bool includeIsTooDeep(const QString &name)
{
    if (t_filesBeingParsed.size() < std::size_t(PLLatexStringParser::maximumIncludeDepth))
        return false;
    qCWarning(lcOutline).noquote() << QStringLiteral("includes nested more than %1 files deep: %2 is not opened")
                                          .arg(PLLatexStringParser::maximumIncludeDepth)
                                          .arg(name);
    return true;
}

bool isBeingParsed(const PLFile *file)
{
    return std::find(t_filesBeingParsed.begin(), t_filesBeingParsed.end(), file) != t_filesBeingParsed.end();
}

// The roots of the files that a file's outline hangs under its include and bibliography nodes.
void collectIncludedFiles(const std::shared_ptr<PLOutlineNode> &node, std::vector<std::shared_ptr<PLFile>> &files)
{
    for (const auto &child : node->children()) {
        if (child->type() == PLOutlineNode::FileRoot) {
            if (auto file = child->file())
                files.push_back(std::move(file));
        } else {
            collectIncludedFiles(child, files);
        }
    }
}

// Whether including the file would close a loop: it is being parsed, or it reaches a file that is,
// through include sets or through the outline.
bool includeWouldFormCycle(const std::shared_ptr<PLFile> &target)
{
    std::unordered_set<const PLFile *> visited;
    std::vector<std::shared_ptr<PLFile>> pending{target};
    while (!pending.empty()) {
        const auto file = std::move(pending.back());
        pending.pop_back();
        if (!file || !visited.insert(file.get()).second)
            continue;
        if (isBeingParsed(file.get()))
            return true;
        for (const auto &included : file->filesInDocument())
            pending.push_back(included);
        if (const auto root = file->outlineRootNode())
            collectIncludedFiles(root, pending);
    }
    return false;
}

// A file under construction is not in the pool yet, so it is found among the files being parsed.
bool pathIsBeingParsed(const QString &path)
{
    return std::any_of(t_filesBeingParsed.begin(), t_filesBeingParsed.end(),
                       [&](const PLFile *file) { return !file->isUntitled() && file->stringPath() == path; });
}

bool untitledNameIsBeingParsed(const QString &name)
{
    return std::any_of(t_filesBeingParsed.begin(), t_filesBeingParsed.end(),
                       [&](const PLFile *file) { return file->isUntitled() && file->name() == name; });
}

bool openingPathWouldFormCycle(const QString &path)
{
    if (pathIsBeingParsed(path))
        return true;
    const auto pooled = PLFilePool::sharedFilePool().fileForPath(path);
    return pooled && includeWouldFormCycle(pooled);
}

bool openingUntitledWouldFormCycle(const QString &name)
{
    if (untitledNameIsBeingParsed(name))
        return true;
    const auto pooled = PLFilePool::sharedFilePool().untitledFileWithName(name);
    return pooled && includeWouldFormCycle(pooled);
}

// Answers isLineCommentedInString for locations that never go back, reading each character at most
// twice, so a line that holds thousands of commands is not searched again for each of them.
class PLCommentScanner
{
public:
    explicit PLCommentScanner(const QString &text) : m_text(text) {}

    bool isLineCommented(qsizetype location)
    {
        const qsizetype end = std::clamp<qsizetype>(location, 0, m_text.size());
        if (end < m_scanned)
            return PLLatexStringParser::isLineCommentedInString(m_text, end);
        // Only the stretch after the last line terminator counts, so it is found from the end: the
        // lines between two commands are never read.
        for (qsizetype i = end; i > m_scanned; --i) {
            if (PLStringLineCalculations::isLineTerminator(m_text[i - 1])) {
                m_scanned = i;
                m_commented = false;
                break;
            }
        }
        for (; m_scanned < end && !m_commented; ++m_scanned)
            m_commented = m_text[m_scanned] == u'%' && (m_scanned == 0 || m_text[m_scanned - 1] != u'\\');
        m_scanned = end;
        return m_commented;
    }

private:
    const QString &m_text;
    qsizetype m_scanned = 0;
    bool m_commented = false;
};

constexpr QStringView kHeadingNames[] = {u"part", u"chapter", u"section", u"subsection", u"subsubsection", u"paragraph"};

// Just past the name that follows a backslash, when it is one of the names; -1 otherwise. No name
// is a prefix of another, so the first that fits is the only one.
template <size_t N>
qsizetype endOfCommandName(QStringView text, qsizetype start, const QStringView (&names)[N])
{
    const QStringView rest = text.sliced(start);
    if (rest.isEmpty())
        return -1;
    // Most backslashes start other commands: the first letter turns them away cheaply.
    for (const QStringView name : names) {
        if (rest.front() == name.front() && rest.startsWith(name))
            return start + name.size();
    }
    return -1;
}

// The index just past the "]" that closes an optional argument opened just before the start, or -1
// when it does not close on its line. A "]" inside braces belongs to them, as in TeX.
qsizetype endOfOptionalArgument(const QString &text, qsizetype start)
{
    qsizetype depth = 0;
    for (qsizetype i = start; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == u'\n' || (c == u'}' && depth == 0))
            return -1;
        if (c == u'{')
            ++depth;
        else if (c == u'}')
            --depth;
        else if (c == u']' && depth == 0)
            return i + 1;
    }
    return -1;
}

struct PLBracedArgument
{
    QString command;
    QString argument;
};

// The text before the first "{" and the text between it and the last "}".
std::optional<PLBracedArgument> bracedArgument(const QString &tag)
{
    const qsizetype open = tag.indexOf(u'{');
    const qsizetype close = tag.lastIndexOf(u'}');
    if (open < 0 || close < open)
        return std::nullopt;
    return PLBracedArgument{tag.left(open), tag.mid(open + 1, close - open - 1)};
}

}

PLLatexStringParser::PLLatexStringParser(const std::shared_ptr<PLFile> &file) : m_file(file)
{
    sectioningNames();
}

const QStringList &PLLatexStringParser::sectioningNames()
{
    static const QStringList names{QStringLiteral("part"), QStringLiteral("chapter"), QStringLiteral("section"),
                                   QStringLiteral("subsection")};
    return names;
}

PLRange PLLatexStringParser::headingCommandInRange(const QString &text, PLRange range)
{
    return headingCommandInRange(text, range, nullptr);
}

PLRange PLLatexStringParser::headingCommandInRange(const QString &text, PLRange range, std::vector<qsizetype> *includeStarts)
{
    const QStringView view = QStringView(text).first(std::clamp<qsizetype>(range.end(), 0, text.size()));
    for (qsizetype at = view.indexOf(u'\\', std::max<qsizetype>(range.location, 0)); at >= 0;
         at = view.indexOf(u'\\', at + 1)) {
        qsizetype next = endOfCommandName(view, at + 1, kHeadingNames);
        if (next < 0) {
            // \input, \include and \bibliography.
            if (includeStarts && at + 2 < view.size()
                && ((view[at + 1] == u'i' && view[at + 2] == u'n') || (view[at + 1] == u'b' && view[at + 2] == u'i')))
                includeStarts->push_back(at);
            continue;
        }
        if (next < view.size() && view[next] == u'*')
            ++next;
        if (next < view.size() && (view[next] == u'{' || view[next] == u'['))
            return PLRange{at, next + 1 - at};
    }
    return PLNotFoundRange;
}

PLRange PLLatexStringParser::fileReferenceInRange(const QString &text, PLRange range)
{
    // The argument's first character may be a "}" itself.
    return PLBracedCommandScan::firstBracedCommand(text, range, {u"input", u"include", u"bibliography"}, false, false);
}

std::shared_ptr<PLOutlineNode> PLLatexStringParser::makeTextNode(const QString &text, qsizetype from, qsizetype to) const
{
    return PLOutlineNode::createTextNode(text, PLRange{from, to - from}, file());
}

void PLLatexStringParser::appendTextNodesWithIncludes(QList<std::shared_ptr<PLOutlineNode>> &nodes, const QString &text,
                                                      PLRange range, const std::function<bool(qsizetype)> &isLineCommented)
{
    qsizetype previousEnd = range.location;
    for (PLRange found = fileReferenceInRange(text, range); found.isFound();
         found = fileReferenceInRange(text, PLRange{found.end(), range.end() - found.end()})) {
        if (isLineCommented(found.location)) {
            nodes.append(makeTextNode(text, previousEnd, found.end()));
        } else {
            nodes.append(makeTextNode(text, previousEnd, found.location));
            const QString tag = text.mid(found.location, found.length);
            auto include = makeFileIncludeNodeFromInputOrIncludeTag(tag);
            if (!include)
                include = makeBibliographyNodeOfBibliographyTag(tag);
            if (include)
                nodes.append(include);
        }
        previousEnd = found.end();
    }
    nodes.append(makeTextNode(text, previousEnd, range.end()));
}

QList<std::shared_ptr<PLOutlineNode>> PLLatexStringParser::parseString(const QString &text)
{
    const PLParsingScope scope(file().get());
    QList<std::shared_ptr<PLOutlineNode>> nodes;
    qsizetype cursor = 0;
    PLCommentScanner comments(text);
    // Include commands are judged by their line in the whole text: a sign before a heading on the
    // same line comments out what follows that heading too.
    PLCommentScanner includeComments(text);
    const auto appendText = [&](qsizetype from, qsizetype to) {
        appendTextNodesWithIncludes(nodes, text, PLRange{from, to - from},
                                    [&](qsizetype location) { return includeComments.isLineCommented(location); });
    };
    // Most text between headings holds no include command, and the heading search has already
    // passed every backslash of it: such text is searched again only where an include may start.
    std::vector<qsizetype> includeStarts;
    size_t nextIncludeStart = 0;
    const auto appendPassedText = [&](qsizetype from, qsizetype to) {
        while (nextIncludeStart < includeStarts.size() && includeStarts[nextIncludeStart] < from)
            ++nextIncludeStart;
        if (nextIncludeStart < includeStarts.size() && includeStarts[nextIncludeStart] < to)
            appendText(from, to);
        else
            nodes.append(makeTextNode(text, from, to));
    };
    PLRange match = headingCommandInRange(text, PLRange{0, text.size()}, &includeStarts);
    while (match.isFound()) {
        qsizetype searchFrom = match.end();
        qsizetype titleStart = match.end();
        // An optional argument that does not close, or is not followed by the title, leaves the
        // command to the text around it.
        if (text[match.end() - 1] == u'[') {
            const qsizetype optionalEnd = endOfOptionalArgument(text, match.end());
            titleStart = optionalEnd >= 0 && optionalEnd < text.size() && text[optionalEnd] == u'{' ? optionalEnd + 1 : -1;
        }
        if (comments.isLineCommented(match.location)) {
            appendPassedText(cursor, match.end());
            cursor = match.end();
        } else if (titleStart >= 0) {
            // The title runs to its closing brace, or to the end of the line when the braces do not
            // balance there.
            qsizetype depth = 1;
            qsizetype end = titleStart;
            while (depth != 0 && end < text.size()) {
                const QChar c = text[end];
                if (c == u'\n')
                    break;
                if (c == u'{')
                    ++depth;
                else if (c == u'}')
                    --depth;
                ++end;
            }
            appendPassedText(cursor, match.location);
            // An unclosed title stays text even when an inner brace closed, so no text is lost.
            const auto heading = depth == 0 ? parseSectionString(text.mid(match.location, end - match.location)) : nullptr;
            if (heading)
                nodes.append(heading);
            else
                appendText(match.location, end);
            cursor = end;
            searchFrom = cursor;
        }
        match = headingCommandInRange(text, PLRange{searchFrom, text.size() - searchFrom}, &includeStarts);
    }
    appendPassedText(cursor, text.size());
    return nodes;
}

bool PLLatexStringParser::isLineCommentedInString(QStringView string, qsizetype location)
{
    const qsizetype end = std::clamp<qsizetype>(location, 0, string.size());
    const qsizetype lineStart = PLStringLineCalculations::lineStartIn(string, end);
    // Only this line is searched, so testing every heading of a long file stays linear.
    for (qsizetype sign = end - 1; sign >= lineStart; --sign) {
        if (string[sign] != u'%')
            continue;
        if (sign == 0 || string[sign - 1] != u'\\')
            return true;
    }
    return false;
}

std::shared_ptr<PLOutlineNode> PLLatexStringParser::parseSectionString(const QString &string) const
{
    qsizetype open = string.indexOf(u'{');
    if (open < 0)
        return nullptr;
    // A short title for the table of contents may stand in brackets before the title shown here.
    const qsizetype bracket = string.indexOf(u'[');
    const QString command = string.mid(1, (bracket >= 0 && bracket < open ? bracket : open) - 1);
    if (bracket >= 0 && bracket < open) {
        open = endOfOptionalArgument(string, bracket + 1);
        if (open < 0 || open >= string.size() || string[open] != u'{')
            return nullptr;
    }
    const qsizetype close = string.lastIndexOf(u'}');
    if (close < open)
        return nullptr;
    quint32 type = PLOutlineNode::Part;
    if (command == u"chapter" || command == u"chapter*")
        type = PLOutlineNode::Chapter;
    else if (command == u"section" || command == u"section*")
        type = PLOutlineNode::Section;
    else if (command == u"subsection" || command == u"subsection*")
        type = PLOutlineNode::Subsection;
    else if (command == u"subsubsection" || command == u"subsubsection*")
        type = PLOutlineNode::Subsubsection;
    else if (command == u"paragraph" || command == u"paragraph*")
        type = PLOutlineNode::Paragraph;
    return PLOutlineNode::create(string.mid(open + 1, close - open - 1), type, string.left(close + 1), file());
}

std::optional<QList<std::shared_ptr<PLOutlineNode>>> PLLatexStringParser::parseTextNodeForFileIncludes(
    const std::shared_ptr<PLOutlineNode> &node)
{
    if (!node || node->type() != PLOutlineNode::Text)
        return std::nullopt;
    const QString text = node->content();
    QList<std::shared_ptr<PLOutlineNode>> nodes;
    PLCommentScanner comments(text);
    appendTextNodesWithIncludes(nodes, text, PLRange{0, text.size()},
                                [&](qsizetype location) { return comments.isLineCommented(location); });
    return nodes;
}

std::shared_ptr<PLOutlineNode> PLLatexStringParser::parseFileReference(const QString &command)
{
    // Parsed for this file, so an include that would close a loop opens nothing.
    const PLParsingScope scope(file().get());
    auto node = makeFileIncludeNodeFromInputOrIncludeTag(command);
    return node ? node : makeBibliographyNodeOfBibliographyTag(command);
}

std::shared_ptr<PLOutlineNode> PLLatexStringParser::makeFileIncludeNodeFromInputOrIncludeTag(const QString &tag)
{
    const auto parts = bracedArgument(tag);
    if (!parts || (parts->command != u"\\input" && parts->command != u"\\include"))
        return nullptr;
    const auto owner = file();
    auto node = PLOutlineNode::createFileIncludeNode(tag, owner);
    if (!owner || !m_opensIncludedFiles)
        return node;
    if (owner->isUntitled()) {
        if (includeIsTooDeep(parts->argument) || openingUntitledWouldFormCycle(parts->argument))
            return node;
        if (const auto included = owner->addUntitledFileWithNameToFilesContainedInDocument(parts->argument))
            node->addChild(included->outlineRootNode());
        return node;
    }
    QString path = owner->directoryOfFile() + parts->argument;
    if (!path.contains(QStringLiteral(".tex")))
        path += QStringLiteral(".tex");
    path = QDir::cleanPath(path);
    if (includeIsTooDeep(path))
        return node;
    if (const auto known = owner->fileInDocumentWithPath(path)) {
        node->addChild(known->outlineRootNode());
        return node;
    }
    if (openingPathWouldFormCycle(path))
        return node;
    if (const auto included = owner->addFileWithPathToFilesContainedInDocument(path))
        node->addChild(included->outlineRootNode());
    return node;
}

std::shared_ptr<PLOutlineNode> PLLatexStringParser::makeBibliographyNodeOfBibliographyTag(const QString &tag)
{
    const auto parts = bracedArgument(tag);
    if (!parts || parts->command != u"\\bibliography")
        return nullptr;
    const auto owner = file();
    auto node = PLOutlineNode::createBibliographyNode(tag, owner);
    if (!owner || !m_opensIncludedFiles)
        return node;
    const QString directory = owner->directoryOfFile();
    for (const QString &piece : parts->argument.split(u',')) {
        const QString name = piece.trimmed();
        if (name.isEmpty())
            continue;
        std::shared_ptr<PLFile> bibliography;
        if (owner->isUntitled()) {
            if (!includeIsTooDeep(name) && !openingUntitledWouldFormCycle(name))
                bibliography = owner->addUntitledFileWithNameToFilesContainedInDocument(name);
        } else {
            QString path = directory + name;
            if (!path.contains(QStringLiteral(".bib")))
                path += QStringLiteral(".bib");
            path = QDir::cleanPath(path);
            if (!includeIsTooDeep(path) && !openingPathWouldFormCycle(path))
                bibliography = owner->addFileWithPathToFilesContainedInDocument(path);
        }
        if (bibliography)
            node->addChild(bibliography->outlineRootNode());
    }
    return node;
}
