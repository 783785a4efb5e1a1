#pragma once

#include <QJsonObject>
#include <QString>

#include <memory>

class PLCliJsonWriter;
class PLDocument;
class PLFile;
class PLOutlineNode;
class PLNotification;

// Opens FILE as a project the way the application does; on failure prints the one-line message
// and answers the exit status to return.
int PLCliOpenProject(const QString &path, PLDocument &document);

// Writes the outline below a node as JSON: type, subType, name, content (unless left out), file and
// children. A file root met again below itself (a cyclic include) is listed without children.
void PLCliWriteOutline(PLCliJsonWriter &writer, const std::shared_ptr<PLOutlineNode> &node, bool withContent);
// Writes the tree as the sidebar shows it.
void PLCliWriteSidebar(PLCliJsonWriter &writer, const std::shared_ptr<PLFile> &mainFile);
// A notification as name, the kind of its object and a summary of the nodes it carries.
QJsonObject PLCliNotificationJson(const PLNotification &notification);
QString PLCliFileName(const std::shared_ptr<PLFile> &file);
