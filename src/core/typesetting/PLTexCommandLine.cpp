#include "core/typesetting/PLTexCommandLine.h"

#include "core/project/PLFile.h"
#include "core/foundation/PLThreadHandOff.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

namespace PLTexCommandLine {

QString texFolder(const QString &setting)
{
    if (setting.size() >= 2 && setting[setting.size() - 2] != u'/')
        return setting + u'/';
    return setting;
}

QString texFolder()
{
    // The settings store is the main thread's: a job takes what it needs of it when it starts.
    Q_ASSERT(PLThreadHandOff::isMainThread());
    return texFolder(PLUserDefaults::standardUserDefaults().stringForKey(PLUserDefaultsTexLocation));
}

QString engineProgram(int engine)
{
    Q_ASSERT(PLThreadHandOff::isMainThread());
    if (engine == PLFile::XeLaTeXEngine)
        return QStringLiteral("xelatex");
    return PLUserDefaults::standardUserDefaults().stringForKey(PLUserDefaultsTypesettingEngine);
}

QStringList engineArguments(const QString &baseName, bool shellEscape)
{
    return {QStringLiteral("-file-line-error"),
            QStringLiteral("-synctex=1"),
            QStringLiteral("--interaction"),
            QStringLiteral("nonstopmode"),
            shellEscape ? QStringLiteral("--shell-escape") : QStringLiteral("--no-shell-escape"),
            programFileName(baseName)};
}

QStringList bibtexArguments(const QString &baseName)
{
    return {programFileName(baseName)};
}

QString programFileName(const QString &baseName)
{
    if (baseName.startsWith(u'-') || baseName.startsWith(u'&'))
        return QStringLiteral("./") + baseName;
    return baseName;
}

}
