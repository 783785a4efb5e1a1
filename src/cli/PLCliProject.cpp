#include "cli/PLCliProject.h"

#include "cli/PLCliCommands.h"
#include "core/document/PLDocument.h"
#include "core/latex/PLDocumentOutlineViewDataSource.h"
#include "core/project/PLFile.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/latex/PLOutlineNode.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QSet>

int PLCliOpenProject(const QString &path, PLDocument &document)
{
    const QFileInfo info(path);
    if (!info.exists())
        return PLCliFail(PLCliInputError, QStringLiteral("no such file: ") + path);
    if (!info.isFile() || !info.isReadable())
        return PLCliFail(PLCliInputError, QStringLiteral("not a readable file: ") + path);
    PLError error;
    if (!document.readFromURL(info.absoluteFilePath(), QStringLiteral("tex"), &error))
        return PLCliFail(PLCliInputError, QStringLiteral("cannot open ") + path + QStringLiteral(": ") + error.message);
    return PLCliSuccess;
}

QString PLCliFileName(const std::shared_ptr<PLFile> &file)
{
    if (!file)
        return QString();
    return file->isUntitled() ? file->name() : file->stringPath();
}

namespace {
QJsonObject outlineJson(const std::shared_ptr<PLOutlineNode> &node, bool withContent, QSet<const PLOutlineNode *> &path)
{
    QJsonObject json;
    json.insert(QStringLiteral("type"), int(node->type()));
    json.insert(QStringLiteral("subType"), int(node->textNodeSubType()));
    json.insert(QStringLiteral("name"), node->name());
    if (withContent)
        json.insert(QStringLiteral("content"), node->content());
    json.insert(QStringLiteral("file"), PLCliFileName(node->file()));
    QJsonArray children;
    if (path.contains(node.get())) {
        json.insert(QStringLiteral("cycle"), true);
    } else {
        path.insert(node.get());
        for (const auto &child : node->children())
            children.append(outlineJson(child, withContent, path));
        path.remove(node.get());
    }
    json.insert(QStringLiteral("children"), children);
    return json;
}

QJsonObject sidebarJson(const PLDocumentOutlineViewDataSource &source, const std::shared_ptr<PLOutlineNode> &item,
                        QSet<const PLOutlineNode *> &path)
{
    QJsonObject row;
    row.insert(QStringLiteral("title"), source.objectValueForItem(item.get()));
    const QString icon = source.iconResourceNameForItem(item.get());
    row.insert(QStringLiteral("icon"), icon.isEmpty() ? QJsonValue() : QJsonValue(icon));
    row.insert(QStringLiteral("group"), source.isGroupItem(item.get()));
    row.insert(QStringLiteral("type"), int(item->type()));
    QJsonArray children;
    if (path.contains(item.get())) {
        row.insert(QStringLiteral("cycle"), true);
    } else {
        path.insert(item.get());
        const int count = source.numberOfChildrenOfItem(item.get());
        for (int i = 0; i < count; ++i) {
            if (auto child = source.childOfItem(i, item.get()))
                children.append(sidebarJson(source, child, path));
        }
        path.remove(item.get());
    }
    row.insert(QStringLiteral("children"), children);
    return row;
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

QJsonObject PLCliOutlineJson(const std::shared_ptr<PLOutlineNode> &node, bool withContent)
{
    QSet<const PLOutlineNode *> path;
    return outlineJson(node, withContent, path);
}

QJsonObject PLCliSidebarJson(const std::shared_ptr<PLFile> &mainFile)
{
    PLDocumentOutlineViewDataSource source(mainFile);
    QSet<const PLOutlineNode *> path;
    return sidebarJson(source, source.childOfItem(0, nullptr), path);
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
