#include "cli/PLCliCommands.h"

#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/project/PLFile.h"
#include "core/project/PLFileFactory.h"
#include "core/typesetting/PLLatexTransformer.h"
#include "core/typesetting/PLLatexTransformerDelegate.h"
#include "core/typesetting/PLLogItem.h"
#include "core/typesetting/PLLogStringParser.h"
#include "core/typesetting/PLTexCommandLine.h"
#include "core/typesetting/PLTypesettingSummary.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QTimer>

#include <cstdio>
#include <limits>

namespace {

// Follows the job for the command line: the output goes straight to standard error as it comes.
class CliTransformerDelegate : public PLLatexTransformerDelegate
{
public:
    explicit CliTransformerDelegate(QEventLoop *loop) : m_loop(loop) {}

    void latexTransformerDidChooseEngine(int) override {}
    void latexTransformerDidStartWorkingOnFileWithName(const QString &fileName) override { fileNames.append(fileName); }
    void latexTransformerDidOutputString(const QString &output) override
    {
        const QByteArray bytes = output.toUtf8();
        std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
        std::fflush(stderr);
    }
    void latexTransformerCouldNotFindEngine(int engine, const QString &launchPath) override
    {
        engineMissing = true;
        // The words of the window's alert.
        PLCliFail(PLCliInputError, PLTypesettingSummary::couldNotLocateEngineMessage(engine, launchPath) + u' ' +
                                       PLTypesettingSummary::couldNotLocateEngineInformativeText());
    }
    void latexTransformerDidFinish(PLLatexTransformer *) override { m_loop->quit(); }

    QStringList fileNames;
    bool engineMissing = false;

private:
    QEventLoop *m_loop;
};

QJsonValue numberOrNull(bool present, int number)
{
    return present ? QJsonValue(number) : QJsonValue(QJsonValue::Null);
}

QJsonArray runsJson(const QList<PLTypesettingRun> &runs)
{
    QJsonArray array;
    for (const PLTypesettingRun &run : runs) {
        const PLTexRunResult &r = run.result;
        array.append(QJsonObject{
            {QStringLiteral("program"), run.program == PLTypesettingRun::Engine ? QStringLiteral("engine") : QStringLiteral("bibtex")},
            {QStringLiteral("launchPath"), r.launchPath},
            {QStringLiteral("started"), r.started},
            {QStringLiteral("stopped"), r.stopped},
            {QStringLiteral("exitCode"), numberOrNull(r.started && r.signal == 0, r.exitCode)},
            {QStringLiteral("signal"), numberOrNull(r.signal != 0, r.signal)},
            {QStringLiteral("failed"), r.failed()},
            {QStringLiteral("description"), r.description()}});
    }
    return array;
}

QJsonArray logItems(const PLLogStringParser::Items &items)
{
    QJsonArray array;
    for (const std::shared_ptr<PLLogItem> &item : items) {
        array.append(QJsonObject{
            {QStringLiteral("type"), item->type()},
            {QStringLiteral("message"), item->message()},
            {QStringLiteral("line"), item->line()},
            {QStringLiteral("file"), item->filePath().isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(item->filePath())}});
    }
    return array;
}

}

// typeset MAIN [--stop-after SECONDS]: one typesetting job, headless, as the window runs it.
int PLCliRunTypeset(const QStringList &arguments)
{
    QString mainPath;
    double stopAfter = -1;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments[i];
        if (argument == u"--stop-after") {
            if (i + 1 >= arguments.size())
                return PLCliFail(PLCliUsageError, QStringLiteral("--stop-after needs a number of seconds"));
            // The timer counts milliseconds in an int.
            const std::optional<double> seconds =
                PLCliRealNumber(argument, arguments[++i], 0, std::numeric_limits<int>::max() / 1000);
            if (!seconds)
                return PLCliUsageError;
            stopAfter = *seconds;
        } else if (argument.startsWith(u"--") || !mainPath.isEmpty()) {
            return PLCliFail(PLCliUsageError, QStringLiteral("unexpected argument ") + argument);
        } else {
            mainPath = argument;
        }
    }
    if (mainPath.isEmpty())
        return PLCliFail(PLCliUsageError, QStringLiteral("typeset needs MAIN"));
    const QFileInfo info(mainPath);
    if (!info.isFile())
        return PLCliFail(PLCliInputError, QStringLiteral("no such file ") + mainPath);

    // The main file is opened as a document opens it, so the engine choice follows its text.
    const PLFileFactory factory(std::make_shared<PLLatexFileContentOutlineParser>());
    const std::shared_ptr<PLFile> mainFile = factory.fileWithPath(info.absoluteFilePath());
    const auto parser = std::make_shared<PLLogStringParser>(mainFile);
    const std::shared_ptr<PLLatexTransformer> transformer = PLLatexTransformer::create(parser);
    QEventLoop loop;
    CliTransformerDelegate delegate(&loop);
    transformer->setDelegate(&delegate);
    if (stopAfter >= 0)
        QTimer::singleShot(int(stopAfter * 1000), &loop, [transformer] { transformer->stop(); });
    transformer->transformLatexFile(mainFile);
    loop.exec();
    transformer->setDelegate(nullptr);

    const int engine = mainFile->engine();
    const qsizetype errors = parser->errorsFound().size();
    const qsizetype warnings = parser->warningsFound().size();
    const QString engineFailure = transformer->engineFailure();
    QJsonObject result{
        {QStringLiteral("engine"), PLTypesettingSummary::latexEngineAsString(engine)},
        {QStringLiteral("engineNumber"), engine},
        {QStringLiteral("launchPath"), QString(PLTexCommandLine::texFolder() + PLTexCommandLine::engineProgram(engine))},
        {QStringLiteral("engineFound"), !delegate.engineMissing},
        {QStringLiteral("engineFailure"), engineFailure.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(engineFailure)},
        {QStringLiteral("runs"), runsJson(transformer->runs())},
        {QStringLiteral("fileNames"), QJsonArray::fromStringList(delegate.fileNames)},
        {QStringLiteral("errorsFound"), logItems(parser->errorsFound())},
        {QStringLiteral("warningsFound"), logItems(parser->warningsFound())},
        {QStringLiteral("summary"), PLTypesettingSummary::summaryText(errors, warnings)},
        {QStringLiteral("pdfPath"), mainFile->pdfPath()},
        {QStringLiteral("pdfExists"), QFileInfo::exists(mainFile->pdfPath())},
        {QStringLiteral("pdfWritten"), transformer->wasPdfWritten()},
        {QStringLiteral("stopped"), transformer->isStopped()}};
    PLCliPrintJson(QJsonDocument(result));
    if (delegate.engineMissing)
        return PLCliInputError;
    if (!engineFailure.isEmpty())
        PLCliFail(PLCliInputError, QStringLiteral("the engine failed: ") + engineFailure);
    if (!transformer->wasPdfWritten())
        PLCliFail(PLCliInputError, QStringLiteral("no PDF was written"));
    return errors > 0 || !engineFailure.isEmpty() || !transformer->wasPdfWritten() ? PLCliInputError : PLCliSuccess;
}
