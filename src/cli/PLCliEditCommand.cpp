#include "cli/PLCliCommands.h"
#include "cli/PLCliJsonWriter.h"
#include "cli/PLCliProject.h"

#include "core/document/PLDocument.h"
#include "core/project/PLFile.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/editor/PLTextContentBuffer.h"

#include <QJsonArray>
#include <QJsonObject>

#include <limits>

namespace {
// Text positions and counts are ints in the regular expressions and the ranges of the outline.
constexpr qint64 kMaximumPosition = std::numeric_limits<int>::max();

struct Replacement
{
    qint64 location;
    qint64 length;
    QString text;
};

// Turns \n, \t and \\ into the characters they stand for; any other backslash stays as typed.
QString unescape(const QString &text)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'\\' && i + 1 < text.size()) {
            const QChar next = text[i + 1];
            if (next == u'n' || next == u't' || next == u'\\' || next == u'r') {
                result += next == u'n' ? QChar(u'\n') : next == u't' ? QChar(u'\t') : next == u'r' ? QChar(u'\r') : QChar(u'\\');
                ++i;
                continue;
            }
        }
        result += text[i];
    }
    return result;
}
}

// edit FILE (--replace LOCATION LENGTH TEXT)... [--undo N] [--no-content]
int PLCliRunEdit(const QStringList &arguments)
{
    QString path;
    QList<Replacement> replacements;
    int undoSteps = 0;
    bool withContent = true;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments[i];
        if (argument == u"--replace") {
            if (i + 3 >= arguments.size())
                return PLCliFail(PLCliUsageError, QStringLiteral("--replace needs LOCATION LENGTH TEXT"));
            const std::optional<qint64> location = PLCliWholeNumber(QStringLiteral("--replace LOCATION"), arguments[i + 1], 0,
                                                                    kMaximumPosition);
            if (!location)
                return PLCliUsageError;
            const std::optional<qint64> length = PLCliWholeNumber(QStringLiteral("--replace LENGTH"), arguments[i + 2], 0,
                                                                  kMaximumPosition);
            if (!length)
                return PLCliUsageError;
            replacements.append(Replacement{*location, *length, unescape(arguments[i + 3])});
            i += 3;
        } else if (argument == u"--undo") {
            if (i + 1 >= arguments.size())
                return PLCliFail(PLCliUsageError, QStringLiteral("--undo needs a number of steps"));
            const std::optional<qint64> steps = PLCliWholeNumber(argument, arguments[++i], 0, kMaximumPosition);
            if (!steps)
                return PLCliUsageError;
            undoSteps = int(*steps);
        } else if (argument == u"--no-content") {
            withContent = false;
        } else if (argument.startsWith(u"--") || !path.isEmpty()) {
            return PLCliFail(PLCliUsageError, QStringLiteral("unexpected argument ") + argument);
        } else {
            path = argument;
        }
    }
    if (path.isEmpty())
        return PLCliFail(PLCliUsageError, QStringLiteral("edit needs a FILE"));

    int status = PLCliSuccess;
    PLDocument *const document = PLCliOpenProject(path, &status);
    if (!document)
        return status;
    const std::shared_ptr<PLFile> file = document->mainFile();
    PLTextContentBuffer *buffer = file->contentBuffer();

    QJsonArray notifications;
    int observer = 0;
    PLNotificationCenter::defaultCenter().addObserver(&observer, QString(), nullptr, [&](const PLNotification &n) {
        notifications.append(PLCliNotificationJson(n));
    });
    int step = 0;
    for (const Replacement &r : replacements) {
        ++step;
        // Compared without adding the two, which could overflow.
        if (r.location > buffer->length() || r.length > buffer->length() - r.location) {
            PLNotificationCenter::defaultCenter().removeObserver(&observer);
            return PLCliFail(PLCliInputError, QStringLiteral("replacement %1 reaches past the end of the text (%2 characters)")
                                                  .arg(step)
                                                  .arg(buffer->length()));
        }
        buffer->replaceCharactersInRange(PLRange{qsizetype(r.location), qsizetype(r.length)}, r.text);
    }
    for (int i = 0; i < undoSteps && buffer->undoManager()->canUndo(); ++i)
        buffer->undoManager()->undo();
    // As the window does before a save: the outline printed is the one the text stands for.
    document->settleOutlines();
    PLNotificationCenter::defaultCenter().removeObserver(&observer);

    PLCliJsonWriter writer(stdout);
    writer.beginObject();
    writer.key(u"engine");
    writer.number(file->engine());
    writer.key(u"notifications");
    writer.json(notifications);
    writer.key(u"outline");
    PLCliWriteOutline(writer, file->outlineRootNode(), withContent);
    writer.key(u"text");
    writer.string(buffer->string());
    writer.endObject();
    writer.flush();
    return PLCliSuccess;
}
