#include "cli/PLCliCommands.h"

#include "core/project/PLFile.h"
#include "core/typesetting/PLSyncTexSearch.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

#include <limits>

namespace {

// Lines, columns and pages are ints for the SyncTeX library; points are floats, and are written
// to the diagnostic log as ints.
constexpr qint64 kMaximumInt = std::numeric_limits<int>::max();

// A source file named on the command line: relative names are taken from the current folder, or
// from the main file's folder when nothing is there.
QString sourcePath(const QString &name, const PLFile &mainFile)
{
    const QFileInfo here(name);
    if (here.isAbsolute() || here.exists())
        return here.absoluteFilePath();
    return QDir::cleanPath(mainFile.directoryOfFile() + name);
}

}

// synctex forward MAIN FILE LINE COLUMN | synctex backward MAIN PAGE H V
int PLCliRunSyncTex(const QStringList &arguments)
{
    const QString direction = arguments.value(0);
    if ((direction != u"forward" && direction != u"backward") || arguments.size() != 5)
        return PLCliFail(PLCliUsageError, QStringLiteral("synctex needs forward MAIN FILE LINE COLUMN or backward MAIN PAGE H V"));
    const QFileInfo mainInfo(arguments[1]);
    if (!mainInfo.isFile())
        return PLCliFail(PLCliInputError, QStringLiteral("no such file ") + arguments[1]);
    const std::shared_ptr<PLFile> mainFile = PLFile::fileWithPath(mainInfo.absoluteFilePath(), nullptr, PLFile::preferedEncoding());
    const PLSyncTexSearch search(mainFile->pdfPath());
    QJsonObject result{{QStringLiteral("pdf"), search.pdfPath()}};
    QJsonArray results;

    if (direction == u"forward") {
        const std::optional<qint64> line = PLCliWholeNumber(QStringLiteral("LINE"), arguments[3], 1, kMaximumInt);
        if (!line)
            return PLCliUsageError;
        const std::optional<qint64> column = PLCliWholeNumber(QStringLiteral("COLUMN"), arguments[4], 0, kMaximumInt);
        if (!column)
            return PLCliUsageError;
        const QString file = sourcePath(arguments[2], *mainFile);
        result.insert(QStringLiteral("file"), file);
        result.insert(QStringLiteral("line"), *line);
        result.insert(QStringLiteral("column"), *column);
        for (const PLSyncTexForwardResult &r : search.forwardSearch(file, int(*line), int(*column))) {
            results.append(QJsonObject{{QStringLiteral("page"), r.page},
                                       {QStringLiteral("h"), r.h},
                                       {QStringLiteral("v"), r.v},
                                       {QStringLiteral("box"), QJsonObject{{QStringLiteral("h"), r.boxH},
                                                                           {QStringLiteral("v"), r.boxV},
                                                                           {QStringLiteral("width"), r.boxWidth},
                                                                           {QStringLiteral("height"), r.boxHeight},
                                                                           {QStringLiteral("depth"), r.boxDepth}}}});
        }
    } else {
        const std::optional<qint64> page = PLCliWholeNumber(QStringLiteral("PAGE"), arguments[2], 1, kMaximumInt);
        if (!page)
            return PLCliUsageError;
        const std::optional<double> h = PLCliRealNumber(QStringLiteral("H"), arguments[3], -kMaximumInt, kMaximumInt);
        if (!h)
            return PLCliUsageError;
        const std::optional<double> v = PLCliRealNumber(QStringLiteral("V"), arguments[4], -kMaximumInt, kMaximumInt);
        if (!v)
            return PLCliUsageError;
        result.insert(QStringLiteral("page"), *page);
        result.insert(QStringLiteral("h"), *h);
        result.insert(QStringLiteral("v"), *v);
        for (const PLSyncTexBackwardResult &r : search.backwardSearch(int(*page), *h, *v, mainFile->directoryOfFile())) {
            results.append(QJsonObject{{QStringLiteral("fileName"), r.fileName},
                                       {QStringLiteral("filePath"), r.filePath},
                                       {QStringLiteral("line"), r.line},
                                       {QStringLiteral("column"), r.column}});
        }
    }
    result.insert(QStringLiteral("results"), results);
    PLCliPrintJson(QJsonDocument(result));
    return PLCliSuccess;
}
