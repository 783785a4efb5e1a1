#include "cli/PLCliCommands.h"
#include "cli/PLCliProject.h"

#include "core/document/PLDocument.h"
#include "core/project/PLFile.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

// files FILE
int PLCliRunFiles(const QStringList &arguments)
{
    if (arguments.size() != 1 || arguments[0].startsWith(u"--"))
        return PLCliFail(PLCliUsageError, QStringLiteral("files needs exactly one FILE"));
    int status = PLCliSuccess;
    PLDocument *const document = PLCliOpenProject(arguments[0], &status);
    if (!document)
        return status;
    QJsonArray files;
    for (const std::shared_ptr<PLFile> &file : document->filesInDocument()) {
        QJsonObject json;
        json.insert(QStringLiteral("path"), PLCliFileName(file));
        json.insert(QStringLiteral("name"), file->name());
        json.insert(QStringLiteral("encoding"), qint64(file->encoding()));
        json.insert(QStringLiteral("readProperly"), file->wasContentReadProperly());
        json.insert(QStringLiteral("openCount"), qint64(file->openCount()));
        json.insert(QStringLiteral("exists"), !file->isUntitled() && QFileInfo::exists(file->stringPath()));
        files.append(json);
    }
    QJsonObject result;
    result.insert(QStringLiteral("file"), document->mainFile()->stringPath());
    result.insert(QStringLiteral("files"), files);
    PLCliPrintJson(QJsonDocument(result));
    return PLCliSuccess;
}
