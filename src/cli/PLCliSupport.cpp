#include "cli/PLCliCommands.h"

#include <cmath>
#include <cstdio>

void PLCliPrintJson(const QJsonDocument &document)
{
    const QByteArray bytes = document.toJson(QJsonDocument::Indented);
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

int PLCliFail(PLCliExitStatus status, const QString &message)
{
    const QByteArray bytes = (QStringLiteral("plumeo-cli: ") + message + u'\n').toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    return status;
}

std::optional<qint64> PLCliWholeNumber(const QString &name, const QString &text, qint64 minimum, qint64 maximum)
{
    bool ok = false;
    const qint64 value = text.toLongLong(&ok);
    if (ok && value >= minimum && value <= maximum)
        return value;
    PLCliFail(PLCliUsageError,
              QStringLiteral("%1 needs a whole number from %2 to %3, not %4").arg(name).arg(minimum).arg(maximum).arg(text));
    return std::nullopt;
}

std::optional<double> PLCliRealNumber(const QString &name, const QString &text, double minimum, double maximum)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (ok && std::isfinite(value) && value >= minimum && value <= maximum)
        return value;
    PLCliFail(PLCliUsageError, QStringLiteral("%1 needs a number from %2 to %3, not %4")
                                   .arg(name)
                                   .arg(QString::number(minimum, 'g', 16), QString::number(maximum, 'g', 16), text));
    return std::nullopt;
}

const QList<PLCliCommand> &PLCliAllCommands()
{
    static const QList<PLCliCommand> commands{
        {QStringLiteral("lines"), QStringLiteral("lines FILE [--line-of LOCATION] [--start-of LINE]"), PLCliRunLines},
        {QStringLiteral("outline"), QStringLiteral("outline FILE [--no-content] [--sidebar]"), PLCliRunOutline},
        {QStringLiteral("edit"), QStringLiteral("edit FILE (--replace LOCATION LENGTH TEXT)... [--undo N] [--no-content]"), PLCliRunEdit},
        {QStringLiteral("files"), QStringLiteral("files FILE"), PLCliRunFiles},
        {QStringLiteral("quickopen"), QStringLiteral("quickopen FILE QUERY"), PLCliRunQuickOpen},
        {QStringLiteral("log"), QStringLiteral("log OUTPUT --root MAIN [--strategies]"), PLCliRunLog},
        {QStringLiteral("typeset"), QStringLiteral("typeset MAIN [--stop-after SECONDS]"), PLCliRunTypeset},
        {QStringLiteral("synctex"),
         QStringLiteral("synctex forward MAIN FILE LINE COLUMN | synctex backward MAIN PAGE H V"), PLCliRunSyncTex},
        {QStringLiteral("highlight"), QStringLiteral("highlight FILE"), PLCliRunHighlight},
    };
    return commands;
}
