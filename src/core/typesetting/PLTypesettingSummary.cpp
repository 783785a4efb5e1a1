#include "core/typesetting/PLTypesettingSummary.h"

#include "core/project/PLFile.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

namespace PLTypesettingSummary {

QString latexEngineAsString(int engine)
{
    switch (engine) {
    case PLFile::XeLaTeXEngine:
        return QStringLiteral("xelatex");
    case 1:
        return QStringLiteral("pdflatex");
    case 0:
        return PLUserDefaults::standardUserDefaults().stringForKey(PLUserDefaultsTypesettingEngine);
    default:
        return QString();
    }
}

QString makeCountLabel(const QString &type, qsizetype count)
{
    if (count == 0)
        return QString();
    return QStringLiteral("%1 %2").arg(count).arg(type) + (count >= 2 ? QStringLiteral("s") : QString());
}

QString summaryText(qsizetype errorCount, qsizetype warningCount)
{
    if (errorCount == 0 && warningCount == 0)
        return QString();
    QString summary;
    if (errorCount > 0) {
        summary = makeCountLabel(QStringLiteral("error"), errorCount);
        if (warningCount > 0)
            summary += QStringLiteral(" and %1").arg(makeCountLabel(QStringLiteral("warning"), warningCount));
    } else {
        summary = makeCountLabel(QStringLiteral("warning"), warningCount);
    }
    return summary + QStringLiteral(" found");
}

QString couldNotLocateEngineMessage(int engine, const QString &launchPath)
{
    return QStringLiteral("Could not locate %1 with path: %2").arg(latexEngineAsString(engine), launchPath);
}

QString couldNotLocateEngineInformativeText()
{
    return QStringLiteral("Plumeo relies on MacTeX. Is this installed?");
}

}
