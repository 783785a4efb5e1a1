#pragma once

#include <QJsonObject>
#include <QString>

#include <memory>

class PLCliJsonWriter;
class PLDocument;
class PLFile;
class PLOutlineNode;
class PLNotification;

// Opens FILE as a project the way the application does. On failure prints the one-line message,
// sets the exit status to return and answers nothing. The project stays open until
// PLCliCloseProjects, which a plain build never calls: see main.
PLDocument *PLCliOpenProject(const QString &path, int *status);
void PLCliCloseProjects();

// Writes the outline below a node as JSON: type, subType, name, content (unless left out), file and
// children. A file root met again below itself (a cyclic include) is listed without children.
void PLCliWriteOutline(PLCliJsonWriter &writer, const std::shared_ptr<PLOutlineNode> &node, bool withContent);
// Writes the tree as the sidebar shows it.
void PLCliWriteSidebar(PLCliJsonWriter &writer, const std::shared_ptr<PLFile> &mainFile);
// A notification as name, the kind of its object and a summary of the nodes it carries.
QJsonObject PLCliNotificationJson(const PLNotification &notification);
QString PLCliFileName(const std::shared_ptr<PLFile> &file);
