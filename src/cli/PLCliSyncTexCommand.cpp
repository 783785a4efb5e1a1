#include "PLCliCommands.h"

#include "PLFile.h"
#include "PLSyncTexSearch.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

namespace {

bool readNumbers(const QStringList &texts, QList<double> *numbers)
{
    for (const QString &text : texts) {
        bool ok = false;
        numbers->append(text.toDouble(&ok));
        if (!ok)
            return false;
    }
    return true;
}

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
        QList<double> numbers;
        if (!readNumbers(arguments.mid(3), &numbers))
            return PLCliFail(PLCliUsageError, QStringLiteral("LINE and COLUMN must be numbers"));
        const QString file = sourcePath(arguments[2], *mainFile);
        const int line = int(numbers[0]);
        const int column = int(numbers[1]);
        result.insert(QStringLiteral("file"), file);
        result.insert(QStringLiteral("line"), line);
        result.insert(QStringLiteral("column"), column);
        for (const PLSyncTexForwardResult &r : search.forwardSearch(file, line, column)) {
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
        QList<double> numbers;
        if (!readNumbers(arguments.mid(2), &numbers))
            return PLCliFail(PLCliUsageError, QStringLiteral("PAGE, H and V must be numbers"));
        const int page = int(numbers[0]);
        result.insert(QStringLiteral("page"), page);
        result.insert(QStringLiteral("h"), numbers[1]);
        result.insert(QStringLiteral("v"), numbers[2]);
        for (const PLSyncTexBackwardResult &r : search.backwardSearch(page, numbers[1], numbers[2], mainFile->directoryOfFile())) {
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
