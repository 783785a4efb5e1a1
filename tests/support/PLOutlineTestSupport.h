#pragma once

#include "core/foundation/PLDictionaryKeys.h"
#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/latex/PLOutlineNode.h"
#include "PLTestSupport.h"

#include <QDir>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Readable outlines and recorded outline notifications for the model tests.
namespace PLTest {

using Lines = std::vector<std::string>;

inline Lines toLines(const QStringList &list)
{
    Lines lines;
    for (const QString &line : list)
        lines.push_back(line.toStdString());
    return lines;
}

inline QString visible(QString text)
{
    return text.replace(u'\\', QStringLiteral("\\\\")).replace(u'\n', QStringLiteral("\\n")).replace(u'\r', QStringLiteral("\\r"));
}

inline QString nodeKind(const PLOutlineNode &node)
{
    static const char *headings[] = {"root", "part", "chapter", "section", "subsection", "subsubsection", "paragraph"};
    if (node.type() < PLOutlineNode::Text)
        return QString::fromLatin1(headings[node.type()]);
    if (node.type() == PLOutlineNode::Text && node.textNodeSubType() == PLOutlineNode::FileInclude)
        return QStringLiteral("input");
    if (node.type() == PLOutlineNode::Text && node.textNodeSubType() == PLOutlineNode::Bibliography)
        return QStringLiteral("bib");
    return node.type() == PLOutlineNode::Text ? QStringLiteral("text") : QStringLiteral("type%1").arg(node.type());
}

// One line per node, indented by depth: kind, then the name for headings and roots, then the
// content in bars with line breaks made visible. An included root shows as "root NAME" only.
inline QString nodeLine(const PLOutlineNode &node)
{
    if (node.type() == PLOutlineNode::FileRoot)
        return QStringLiteral("root ") + node.name();
    QString line = nodeKind(node);
    const QString usualName = line == u"input" ? line : line == u"bib" ? QStringLiteral("bibliography") : QStringLiteral("text");
    if (node.type() != PLOutlineNode::Text || node.name() != usualName)
        line += QStringLiteral(" \"") + node.name() + u'"';
    return line + QStringLiteral(" |") + visible(node.content()) + u'|';
}

inline void dumpChildren(const PLOutlineNode &node, int depth, QStringList &lines)
{
    for (const auto &child : node.children()) {
        lines.append(QString(depth * 2, u' ') + nodeLine(*child));
        if (child->type() != PLOutlineNode::FileRoot)
            dumpChildren(*child, depth + 1, lines);
    }
}

// The outline of one file below its root, one string per node.
inline QStringList dumpOutline(const std::shared_ptr<PLOutlineNode> &root)
{
    QStringList lines;
    dumpChildren(*root, 0, lines);
    return lines;
}

// The file's text as its nodes hold it, walked from the root with traverseRight.
inline QString outlineText(const std::shared_ptr<PLOutlineNode> &root)
{
    QString text;
    for (auto node = root->traverseRight(); node; node = node->traverseRight())
        text += node->content();
    return text;
}

struct RecordedNotification
{
    const void *object;
    const std::type_info *objectType;
    // "added", "removed" or "changed", with the subject's dump line as it was when announced,
    // e.g. "added section "A" |...|".
    QString line;
};

// Records the three outline notifications in the order they are posted.
class OutlineNotificationRecorder
{
public:
    OutlineNotificationRecorder()
    {
        auto &center = PLNotificationCenter::defaultCenter();
        for (const QString &name : {PLNotificationOutlineNodeWasAdded, PLNotificationOutlineNodeWasRemoved,
                                    PLNotificationNameNodeDidChangeChildren}) {
            center.addObserver(this, name, nullptr, [this](const PLNotification &n) {
                QVariant node = n.userInfo().value(PLDictionaryKeyOutlineNodeAdded);
                if (!node.isValid())
                    node = n.userInfo().value(PLDictionaryKeyOutlineNodeRemoved);
                const auto subject = node.value<std::shared_ptr<PLOutlineNode>>();
                const QString kind = n.name() == PLNotificationOutlineNodeWasAdded ? QStringLiteral("added")
                    : n.name() == PLNotificationOutlineNodeWasRemoved              ? QStringLiteral("removed")
                                                                                   : QStringLiteral("changed");
                notifications.push_back({n.object(), n.objectType(), subject ? kind + u' ' + nodeLine(*subject) : kind});
            });
        }
    }
    ~OutlineNotificationRecorder() { PLNotificationCenter::defaultCenter().removeObserver(this); }
    Lines summary() const
    {
        QStringList lines;
        for (const auto &n : notifications)
            lines.append(n.line);
        return toLines(lines);
    }
    std::vector<RecordedNotification> notifications;
};

// A fresh pool and a temporary project folder for each test.
class ProjectTest : public ::testing::Test
{
protected:
    QString path(const QString &relative) const { return QDir(folder.path()).filePath(relative); }
    QString write(const QString &relative, const QString &text) const
    {
        writeFile(path(relative), text.toUtf8());
        return path(relative);
    }
    void write(const std::vector<std::pair<const char *, const char *>> &files) const
    {
        for (const auto &[relative, text] : files)
            write(QString::fromUtf8(relative), QString::fromUtf8(text));
    }
    // The file, written first when a text is given, opened with the outline parser.
    std::shared_ptr<PLFile> open(const QString &relative, const QString &text = QString()) const
    {
        return PLFile::fileWithPath(text.isNull() ? path(relative) : write(relative, text),
                                    std::make_shared<PLLatexFileContentOutlineParser>());
    }
    QTemporaryDir folder;
    PLFilePool pool;
};

}
