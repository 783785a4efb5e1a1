#include "cli/PLCliProject.h"

#include "cli/PLCliCommands.h"
#include "cli/PLCliJsonWriter.h"
#include "core/document/PLDocument.h"
#include "core/latex/PLDocumentOutlineViewDataSource.h"
#include "core/project/PLFile.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/latex/PLOutlineNode.h"

#include <QFileInfo>
#include <QSet>

#include <vector>

namespace {
std::vector<std::unique_ptr<PLDocument>> &openProjects()
{
    static std::vector<std::unique_ptr<PLDocument>> projects;
    return projects;
}
}

PLDocument *PLCliOpenProject(const QString &path, int *status)
{
    const QFileInfo info(path);
    if (!info.exists()) {
        *status = PLCliFail(PLCliInputError, QStringLiteral("no such file: ") + path);
        return nullptr;
    }
    if (!info.isFile() || !info.isReadable()) {
        *status = PLCliFail(PLCliInputError, QStringLiteral("not a readable file: ") + path);
        return nullptr;
    }
    auto document = std::make_unique<PLDocument>();
    PLError error;
    if (!document->readFromURL(info.absoluteFilePath(), QStringLiteral("tex"), &error)) {
        *status = PLCliFail(PLCliInputError, QStringLiteral("cannot open ") + path + QStringLiteral(": ") + error.message);
        return nullptr;
    }
    return openProjects().emplace_back(std::move(document)).get();
}

void PLCliCloseProjects()
{
    openProjects().clear();
}

QString PLCliFileName(const std::shared_ptr<PLFile> &file)
{
    if (!file)
        return QString();
    return file->isUntitled() ? file->name() : file->stringPath();
}

namespace {
// Members go in sorted by key, the order QJsonObject printed them in.
void writeOutline(PLCliJsonWriter &writer, const std::shared_ptr<PLOutlineNode> &node, bool withContent,
                  QSet<const PLOutlineNode *> &path)
{
    writer.beginObject();
    writer.key(u"children");
    writer.beginArray();
    // Only an include closes a loop, and it always leads to a file's root: the other nodes of a
    // file form a tree, so only roots need looking up.
    const bool root = node->type() == PLOutlineNode::FileRoot;
    const bool cycle = root && path.contains(node.get());
    if (!cycle) {
        if (root)
            path.insert(node.get());
        for (const auto &child : node->children())
            writeOutline(writer, child, withContent, path);
        if (root)
            path.remove(node.get());
    }
    writer.endArray();
    if (withContent) {
        writer.key(u"content");
        writer.string(node->contentView());
    }
    if (cycle) {
        writer.key(u"cycle");
        writer.boolean(true);
    }
    writer.key(u"file");
    writer.string(PLCliFileName(node->file()));
    writer.key(u"name");
    writer.string(node->name());
    writer.key(u"subType");
    writer.number(node->textNodeSubType());
    writer.key(u"type");
    writer.number(node->type());
    writer.endObject();
}

void writeSidebar(PLCliJsonWriter &writer, const PLDocumentOutlineViewDataSource &source,
                  const std::shared_ptr<PLOutlineNode> &item, QSet<const PLOutlineNode *> &path)
{
    writer.beginObject();
    writer.key(u"children");
    writer.beginArray();
    const bool cycle = path.contains(item.get());
    if (!cycle) {
        path.insert(item.get());
        const int count = source.numberOfChildrenOfItem(item.get());
        for (int i = 0; i < count; ++i) {
            if (auto child = source.childOfItem(i, item.get()))
                writeSidebar(writer, source, child, path);
        }
        path.remove(item.get());
    }
    writer.endArray();
    if (cycle) {
        writer.key(u"cycle");
        writer.boolean(true);
    }
    writer.key(u"group");
    writer.boolean(source.isGroupItem(item.get()));
    writer.key(u"icon");
    const QString icon = source.iconResourceNameForItem(item.get());
    if (icon.isEmpty())
        writer.null();
    else
        writer.string(icon);
    writer.key(u"title");
    writer.string(source.objectValueForItem(item.get()));
    writer.key(u"type");
    writer.number(item->type());
    writer.endObject();
}

QJsonObject nodeSummary(const PLOutlineNode &node)
{
    QJsonObject json;
    json.insert(QStringLiteral("type"), int(node.type()));
    json.insert(QStringLiteral("subType"), int(node.textNodeSubType()));
    json.insert(QStringLiteral("name"), node.name());
    json.insert(QStringLiteral("file"), PLCliFileName(node.file()));
    return json;
}
}

void PLCliWriteOutline(PLCliJsonWriter &writer, const std::shared_ptr<PLOutlineNode> &node, bool withContent)
{
    QSet<const PLOutlineNode *> path;
    writeOutline(writer, node, withContent, path);
}

void PLCliWriteSidebar(PLCliJsonWriter &writer, const std::shared_ptr<PLFile> &mainFile)
{
    PLDocumentOutlineViewDataSource source(mainFile);
    QSet<const PLOutlineNode *> path;
    writeSidebar(writer, source, source.childOfItem(0, nullptr), path);
}

QJsonObject PLCliNotificationJson(const PLNotification &notification)
{
    QJsonObject json;
    json.insert(QStringLiteral("name"), notification.name());
    QString kind = QStringLiteral("none");
    if (const PLOutlineNode *node = notification.objectAs<PLOutlineNode>()) {
        kind = QStringLiteral("node");
        json.insert(QStringLiteral("objectNode"), nodeSummary(*node));
    } else if (const PLFile *file = notification.objectAs<PLFile>()) {
        kind = QStringLiteral("file");
        json.insert(QStringLiteral("objectFile"), file->isUntitled() ? file->name() : file->stringPath());
    } else if (notification.objectAs<PLDocument>()) {
        kind = QStringLiteral("document");
    } else if (notification.object()) {
        kind = QStringLiteral("other");
    }
    json.insert(QStringLiteral("object"), kind);
    QJsonObject userInfo;
    for (auto it = notification.userInfo().cbegin(); it != notification.userInfo().cend(); ++it) {
        if (it.value().canConvert<std::shared_ptr<PLOutlineNode>>()) {
            if (const auto node = it.value().value<std::shared_ptr<PLOutlineNode>>())
                userInfo.insert(it.key(), nodeSummary(*node));
        } else {
            userInfo.insert(it.key(), it.value().toString());
        }
    }
    if (!userInfo.isEmpty())
        json.insert(QStringLiteral("userInfo"), userInfo);
    return json;
}
