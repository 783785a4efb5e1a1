#include "cli/PLCliCommands.h"
#include "cli/PLCliProject.h"

#include "core/document/PLDocument.h"
#include "core/project/PLFile.h"

#include <QJsonObject>

// outline FILE [--no-content] [--sidebar]
int PLCliRunOutline(const QStringList &arguments)
{
    QString path;
    bool withContent = true;
    bool sidebar = false;
    for (const QString &argument : arguments) {
        if (argument == u"--no-content")
            withContent = false;
        else if (argument == u"--sidebar")
            sidebar = true;
        else if (argument.startsWith(u"--") || !path.isEmpty())
            return PLCliFail(PLCliUsageError, QStringLiteral("unexpected argument ") + argument);
        else
            path = argument;
    }
    if (path.isEmpty())
        return PLCliFail(PLCliUsageError, QStringLiteral("outline needs a FILE"));

    PLDocument document;
    if (const int status = PLCliOpenProject(path, document))
        return status;
    QJsonObject result;
    result.insert(QStringLiteral("file"), document.mainFile()->stringPath());
    result.insert(QStringLiteral("readProperly"), document.mainFile()->wasContentReadProperly());
    if (sidebar)
        result.insert(QStringLiteral("sidebar"), PLCliSidebarJson(document.mainFile()));
    else
        result.insert(QStringLiteral("outline"), PLCliOutlineJson(document.mainFile()->outlineRootNode(), withContent));
    PLCliPrintJson(QJsonDocument(result));
    return PLCliSuccess;
}
