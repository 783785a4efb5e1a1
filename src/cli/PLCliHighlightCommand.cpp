#include "cli/PLCliCommands.h"

#include "core/editor/PLBIBSyntaxHightlighterDelegate.h"
#include "core/project/PLFile.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "core/editor/PLTextContentBuffer.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

namespace {

QJsonValue colorJson(const std::optional<PLColor> &color)
{
    if (!color)
        return QJsonValue::Null;
    QJsonObject json;
    json.insert(QStringLiteral("hex"), color->hexName());
    json.insert(QStringLiteral("red"), color->redComponent());
    json.insert(QStringLiteral("green"), color->greenComponent());
    json.insert(QStringLiteral("blue"), color->blueComponent());
    json.insert(QStringLiteral("alpha"), color->alphaComponent());
    return json;
}

QJsonValue fontJson(const std::optional<PLFont> &font)
{
    if (!font)
        return QJsonValue::Null;
    QJsonObject json;
    json.insert(QStringLiteral("family"), font->family);
    json.insert(QStringLiteral("pointSize"), font->pointSize);
    return json;
}

}

// highlight FILE: opens FILE as a project, colours its whole text as a change of the text style
// does, and prints the attribute runs.
int PLCliRunHighlight(const QStringList &arguments)
{
    if (arguments.size() != 1 || arguments[0].startsWith(u"--"))
        return PLCliFail(PLCliUsageError, QStringLiteral("highlight needs exactly one FILE"));
    const QFileInfo info(arguments[0]);
    if (!info.isFile() || !info.isReadable())
        return PLCliFail(PLCliInputError, QStringLiteral("cannot read ") + arguments[0]);
    const QString path = info.absoluteFilePath();

    PLError error;
    const std::shared_ptr<PLFile> file = PLFile::fileWithPath(path, std::make_shared<PLLatexFileContentOutlineParser>(),
                                                              PLFile::preferedEncoding(), &error);
    if (!file || !file->wasContentReadProperly())
        return PLCliFail(PLCliInputError, path + QStringLiteral(": ") + (error.isSet() ? error.message : QStringLiteral("unreadable")));
    PLTextContentBuffer *buffer = file->contentBuffer();
    buffer->syntaxHighlighter()->userDefaultsDidChangeEditorTextColor();

    QJsonArray runs;
    buffer->enumerateAttributes(PLRange{0, buffer->length()}, [&](const PLTextAttributes &attributes, PLRange range) {
        QJsonObject run;
        run.insert(QStringLiteral("location"), range.location);
        run.insert(QStringLiteral("length"), range.length);
        run.insert(QStringLiteral("foreground"), colorJson(attributes.foregroundColor()));
        run.insert(QStringLiteral("background"), colorJson(attributes.backgroundColor()));
        run.insert(QStringLiteral("font"), fontJson(attributes.font()));
        const std::optional<QString> link = attributes.link();
        run.insert(QStringLiteral("link"), link ? QJsonValue(*link) : QJsonValue::Null);
        runs.append(run);
    });

    QJsonObject result;
    result.insert(QStringLiteral("file"), path);
    result.insert(QStringLiteral("length"), buffer->length());
    const bool bibliography = dynamic_cast<PLBIBSyntaxHightlighterDelegate *>(buffer->syntaxHighlighter()->delegate());
    result.insert(QStringLiteral("rules"), bibliography ? QStringLiteral("bib") : QStringLiteral("latex"));
    result.insert(QStringLiteral("runs"), runs);
    PLCliPrintJson(QJsonDocument(result));
    file->close();
    return PLCliSuccess;
}
