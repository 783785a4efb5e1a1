#include "PLTestSupport.h"

#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

namespace PLTest {

void resetSettings()
{
    const QString folder = qEnvironmentVariable("XDG_CONFIG_HOME");
    const QString path = QDir(folder).filePath(QStringLiteral("plumeo/test-%1.ini").arg(QUuid::createUuid().toString(QUuid::Id128)));
    PLUserDefaults::resetStandardUserDefaults(path);
    PLUserDefaults::standardUserDefaults().registerDefaults(PLRegisteredUserDefaults());
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write test file %s", qPrintable(path));
    file.write(bytes);
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

QString dataPath(const QString &relative)
{
    return QDir(QStringLiteral(PLUMEO_TEST_DATA_DIR)).filePath(relative);
}

}
