#include "cli/PLCliCommands.h"
#include "cli/PLCliJsonWriter.h"
#include "cli/PLCliProject.h"

#include "core/document/PLDocument.h"
#include "core/project/PLFile.h"

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

    int status = PLCliSuccess;
    PLDocument *const document = PLCliOpenProject(path, &status);
    if (!document)
        return status;
    // Members in sorted order, as they always were printed.
    PLCliJsonWriter writer(stdout);
    writer.beginObject();
    writer.key(u"file");
    writer.string(document->mainFile()->stringPath());
    if (!sidebar) {
        writer.key(u"outline");
        PLCliWriteOutline(writer, document->mainFile()->outlineRootNode(), withContent);
    }
    writer.key(u"readProperly");
    writer.boolean(document->mainFile()->wasContentReadProperly());
    if (sidebar) {
        writer.key(u"sidebar");
        PLCliWriteSidebar(writer, document->mainFile());
    }
    writer.endObject();
    writer.flush();
    return PLCliSuccess;
}
