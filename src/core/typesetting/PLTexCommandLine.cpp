#include "PLTexCommandLine.h"

#include "PLFile.h"
#include "PLUserDefaults.h"
#include "PLUserDefaultsConstants.h"

namespace PLTexCommandLine {

QString texFolder(const QString &setting)
{
    if (setting.size() >= 2 && setting[setting.size() - 2] != u'/')
        return setting + u'/';
    return setting;
}

QString texFolder()
{
    return texFolder(PLUserDefaults::standardUserDefaults().stringForKey(PLUserDefaultsTexLocation));
}

QString engineProgram(int engine)
{
    if (engine == PLFile::XeLaTeXEngine)
        return QStringLiteral("xelatex");
    return PLUserDefaults::standardUserDefaults().stringForKey(PLUserDefaultsTypesettingEngine);
}

QStringList engineArguments(const QString &baseName)
{
    return {QStringLiteral("-file-line-error"), QStringLiteral("-synctex=1"), QStringLiteral("--interaction"),
            QStringLiteral("nonstopmode"), QStringLiteral("--shell-escape"), baseName};
}

QStringList bibtexArguments(const QString &baseName)
{
    return {baseName};
}

}
