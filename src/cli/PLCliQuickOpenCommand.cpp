#include "cli/PLCliCommands.h"
#include "cli/PLCliProject.h"

#include "core/document/PLDocument.h"
#include "core/project/PLFile.h"
#include "core/latex/PLOutlineNode.h"
#include "core/latex/PLQuickOpenManager.h"

#include <QJsonArray>
#include <QJsonObject>

// quickopen FILE QUERY
int PLCliRunQuickOpen(const QStringList &arguments)
{
    if (arguments.size() != 2)
        return PLCliFail(PLCliUsageError, QStringLiteral("quickopen needs FILE and QUERY"));
    int status = PLCliSuccess;
    PLDocument *const document = PLCliOpenProject(arguments[0], &status);
    if (!document)
        return status;
    QJsonArray matches;
    for (const auto &node : document->quickOpenManager()->searchForString(arguments[1])) {
        QJsonObject json;
        json.insert(QStringLiteral("name"), node->name());
        json.insert(QStringLiteral("type"), int(node->type()));
        json.insert(QStringLiteral("file"), PLCliFileName(node->file()));
        matches.append(json);
    }
    QJsonObject result;
    result.insert(QStringLiteral("query"), arguments[1]);
    result.insert(QStringLiteral("matches"), matches);
    PLCliPrintJson(QJsonDocument(result));
    return PLCliSuccess;
}
