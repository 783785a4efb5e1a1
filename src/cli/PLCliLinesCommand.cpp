#include "cli/PLCliCommands.h"

#include "core/foundation/PLStringEncoding.h"
#include "core/foundation/PLStringLineCalculations.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonObject>

#include <limits>

// lines FILE [--line-of LOCATION]... [--start-of LINE]...: the line arithmetic on a UTF-8 file.
int PLCliRunLines(const QStringList &arguments)
{
    QString path;
    QJsonArray answers;
    QList<std::pair<QString, qint64>> queries;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments[i];
        if (argument == u"--line-of" || argument == u"--start-of") {
            if (i + 1 >= arguments.size())
                return PLCliFail(PLCliUsageError, argument + QStringLiteral(" needs a number"));
            // Any location can be asked (outside the text it answers -1); a line is an int.
            const bool lineOf = argument == u"--line-of";
            const std::optional<qint64> value =
                PLCliWholeNumber(argument, arguments[++i], lineOf ? std::numeric_limits<qint64>::min() : std::numeric_limits<int>::min(),
                                 lineOf ? std::numeric_limits<qint64>::max() : std::numeric_limits<int>::max());
            if (!value)
                return PLCliUsageError;
            queries.append({argument, *value});
        } else if (argument.startsWith(u"--") || !path.isEmpty()) {
            return PLCliFail(PLCliUsageError, QStringLiteral("unexpected argument ") + argument);
        } else {
            path = argument;
        }
    }
    if (path.isEmpty())
        return PLCliFail(PLCliUsageError, QStringLiteral("lines needs a FILE"));

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return PLCliFail(PLCliInputError, QStringLiteral("cannot read ") + path + QStringLiteral(": ") + file.errorString());
    PLError error;
    const std::optional<QString> text = PLStringEncodings::decode(file.readAll(), PLStringEncodings::UTF8, &error);
    if (!text)
        return PLCliFail(PLCliInputError, path + QStringLiteral(": ") + error.message);

    for (const auto &[kind, value] : queries) {
        QJsonObject answer;
        if (kind == u"--line-of") {
            // Locations below zero are past any text: they answer -1 like any location past the end.
            const qsizetype location = value < 0 ? text->size() + 1 : qsizetype(value);
            answer.insert(QStringLiteral("lineOf"), value);
            answer.insert(QStringLiteral("line"), PLStringLineCalculations::lineNumberOfLocation(*text, location));
        } else {
            answer.insert(QStringLiteral("startOf"), value);
            answer.insert(QStringLiteral("location"), PLStringLineCalculations::locationOfLineStart(*text, int(value)));
        }
        answers.append(answer);
    }
    QJsonObject result;
    result.insert(QStringLiteral("file"), path);
    result.insert(QStringLiteral("length"), text->size());
    result.insert(QStringLiteral("lineCount"), PLStringLineCalculations::lineNumberOfLocation(*text, text->size()));
    result.insert(QStringLiteral("answers"), answers);
    PLCliPrintJson(QJsonDocument(result));
    return PLCliSuccess;
}
