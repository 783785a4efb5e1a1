#include "PLFuzzSupport.h"

#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QCoreApplication>
#include <QDir>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <cstring>

namespace PLFuzz {

namespace {
QTemporaryDir &configHome()
{
    static QTemporaryDir folder;
    return folder;
}
}

QString emptyFolder()
{
    return QDir(configHome().path()).filePath(QStringLiteral("project"));
}

void initialise(int *argc, char ***argv)
{
    const QTemporaryDir &folder = configHome();
    qputenv("XDG_CONFIG_HOME", folder.path().toLocal8Bit());
    static QCoreApplication application(*argc, *argv);
    // Malformed input is the point here: the parsers' diagnostics would only flood the output.
    QLoggingCategory::setFilterRules(QStringLiteral("plumeo.*=false"));
    PLUserDefaults::resetStandardUserDefaults(QDir(folder.path()).filePath(QStringLiteral("fuzz.ini")));
    PLUserDefaults::standardUserDefaults().registerDefaults(PLRegisteredUserDefaults());
}

QString text(const uint8_t *data, size_t size)
{
    if (size == 0 || data[0] != 0)
        return QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    QString units((size - 1) / 2, Qt::Uninitialized);
    std::memcpy(units.data(), data + 1, size_t(units.size()) * 2);
    return units;
}

}
