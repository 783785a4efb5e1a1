#include "cli/PLCliCommands.h"

#include "core/project/PLFile.h"
#include "core/typesetting/PLLogItem.h"
#include "core/typesetting/PLLogStringParser.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/foundation/PLStringEncoding.h"
#include "core/typesetting/PLTypesettingLogFileParser.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

namespace {

QJsonValue pathOf(const QString &path)
{
    return path.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(path);
}

QJsonArray logItems(const PLLogStringParser::Items &items)
{
    QJsonArray array;
    for (const std::shared_ptr<PLLogItem> &item : items) {
        array.append(QJsonObject{{QStringLiteral("type"), item->type()},
                                 {QStringLiteral("message"), item->message()},
                                 {QStringLiteral("line"), item->line()},
                                 {QStringLiteral("file"), pathOf(item->filePath())}});
    }
    return array;
}

// The files that items were filed under, in order of first appearance, with their counts.
QJsonArray fileCounts(const PLLogStringParser &parser)
{
    QJsonArray array;
    QStringList seen;
    for (const PLLogStringParser::Items *items : {&parser.warningsFound(), &parser.errorsFound()}) {
        for (const std::shared_ptr<PLLogItem> &item : *items) {
            const QString &path = item->filePath();
            if (path.isNull() || seen.contains(path))
                continue;
            seen.append(path);
            array.append(QJsonObject{{QStringLiteral("file"), path},
                                     {QStringLiteral("warnings"), parser.warningCountForFilePath(path)},
                                     {QStringLiteral("errors"), parser.errorCountForFilePath(path)}});
        }
    }
    return array;
}

QJsonArray strategyItems(const PLTypesettingLogFileParser &parser)
{
    QJsonArray array;
    for (const PLTypesettingLogFileParserItem &item : parser.items()) {
        array.append(QJsonObject{{QStringLiteral("type"), item.type()},
                                 {QStringLiteral("filename"), item.filename()},
                                 {QStringLiteral("message"), item.message()},
                                 {QStringLiteral("advice"), item.advice()},
                                 {QStringLiteral("line"), item.line()},
                                 {QStringLiteral("column"), item.column()}});
    }
    return array;
}

}

// log OUTPUT --root MAIN [--strategies]: a captured engine output read as the root file's document
// reads it.
int PLCliRunLog(const QStringList &arguments)
{
    QString outputPath;
    QString rootPath;
    bool strategies = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments[i];
        if (argument == u"--root") {
            if (i + 1 >= arguments.size())
                return PLCliFail(PLCliUsageError, QStringLiteral("--root needs the main file"));
            rootPath = arguments[++i];
        } else if (argument == u"--strategies") {
            strategies = true;
        } else if (argument.startsWith(u"--") || !outputPath.isEmpty()) {
            return PLCliFail(PLCliUsageError, QStringLiteral("unexpected argument ") + argument);
        } else {
            outputPath = argument;
        }
    }
    if (outputPath.isEmpty() || rootPath.isEmpty())
        return PLCliFail(PLCliUsageError, QStringLiteral("log needs OUTPUT and --root MAIN"));

    QFile output(outputPath);
    if (!output.open(QIODevice::ReadOnly))
        return PLCliFail(PLCliInputError, QStringLiteral("cannot read ") + outputPath + QStringLiteral(": ") + output.errorString());
    const QByteArray bytes = output.readAll();
    // The engine's output is read in the root file's encoding, as a job reads it.
    const PLStringEncoding encoding = PLFile::preferedEncoding();
    std::optional<QString> text = PLStringEncodings::decode(bytes, encoding);
    const bool decoded = text.has_value();
    if (!decoded) {
        PLCliFail(PLCliInputError, outputPath + QStringLiteral(" does not decode in encoding ") + QString::number(encoding)
                                       + QStringLiteral("; undecodable bytes are replaced"));
        text = encoding == PLStringEncodings::UTF8 ? QString::fromUtf8(bytes) : QString::fromLatin1(bytes);
    }

    const std::shared_ptr<PLFile> root =
        PLFile::fileWithPath(QFileInfo(rootPath).absoluteFilePath(), nullptr, encoding);
    QJsonObject result{{QStringLiteral("root"), root->stringPath()},
                       {QStringLiteral("decodedExactly"), decoded}};
    if (strategies) {
        PLTypesettingLogFileParser parser(root);
        parser.parseLogString(*text);
        result.insert(QStringLiteral("items"), strategyItems(parser));
    } else {
        PLLogStringParser parser(root);
        bool posted = false;
        PLNotificationCenter::defaultCenter().addObserver(&posted, PLNotificationLogStringParserDidFinishParsing, &parser,
                                                          [&posted](const PLNotification &) { posted = true; });
        parser.parseLogString(*text);
        PLNotificationCenter::defaultCenter().removeObserver(&posted);
        result.insert(QStringLiteral("warningsFound"), logItems(parser.warningsFound()));
        result.insert(QStringLiteral("errorsFound"), logItems(parser.errorsFound()));
        result.insert(QStringLiteral("files"), fileCounts(parser));
        result.insert(QStringLiteral("currentFilePath"), parser.currentFilePath().isNull()
                                                             ? QJsonValue(QJsonValue::Null)
                                                             : QJsonValue(parser.currentFilePath()));
        result.insert(QStringLiteral("didFinishParsing"), posted);
    }
    PLCliPrintJson(QJsonDocument(result));
    return PLCliSuccess;
}
