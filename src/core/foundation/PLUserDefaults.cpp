#include "core/foundation/PLUserDefaults.h"

#include "core/foundation/PLLogging.h"

#include <QDir>
#include <QSettings>
#include <QStandardPaths>

namespace {
std::unique_ptr<PLUserDefaults> &sharedStore()
{
    static std::unique_ptr<PLUserDefaults> store;
    return store;
}
}

PLUserDefaults &PLUserDefaults::standardUserDefaults()
{
    auto &store = sharedStore();
    if (!store)
        store = std::make_unique<PLUserDefaults>(standardLocation());
    return *store;
}

void PLUserDefaults::resetStandardUserDefaults(const QString &iniPath)
{
    QVariantMap registered;
    if (sharedStore())
        registered = sharedStore()->registeredDefaults();
    sharedStore() = std::make_unique<PLUserDefaults>(iniPath.isEmpty() ? standardLocation() : iniPath);
    sharedStore()->registerDefaults(registered);
}

QString PLUserDefaults::standardLocation()
{
    // GenericConfigLocation follows XDG_CONFIG_HOME, so tests can point it at a temporary folder.
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return QDir(base).filePath(QStringLiteral("plumeo/plumeo.ini"));
}

PLUserDefaults::PLUserDefaults(const QString &iniPath)
    : m_settings(std::make_unique<QSettings>(iniPath, QSettings::IniFormat))
{
}

PLUserDefaults::~PLUserDefaults() = default;

QString PLUserDefaults::fileName() const
{
    return m_settings->fileName();
}

void PLUserDefaults::registerDefaults(const QVariantMap &defaults)
{
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it)
        m_registered.insert(it.key(), it.value());
}

QVariant PLUserDefaults::objectForKey(const QString &key) const
{
    if (m_settings->contains(key))
        return m_settings->value(key);
    return m_registered.value(key);
}

bool PLUserDefaults::hasUserValue(const QString &key) const
{
    return m_settings->contains(key);
}

QString PLUserDefaults::stringForKey(const QString &key) const
{
    const QVariant value = objectForKey(key);
    if (value.typeId() == QMetaType::QString || value.canConvert<QString>())
        return value.toString();
    return QString();
}

qint64 PLUserDefaults::integerForKey(const QString &key) const
{
    const QVariant value = objectForKey(key);
    if (value.typeId() == QMetaType::Bool)
        return value.toBool() ? 1 : 0;
    bool ok = false;
    const qint64 asInteger = value.toLongLong(&ok);
    if (ok)
        return asInteger;
    // INI files hand numbers back as text; "12.5" still reads as 12, as the platform does.
    const double asDouble = value.toDouble(&ok);
    return ok ? qint64(asDouble) : 0;
}

double PLUserDefaults::doubleForKey(const QString &key) const
{
    bool ok = false;
    const double value = objectForKey(key).toDouble(&ok);
    return ok ? value : 0.0;
}

bool PLUserDefaults::boolForKey(const QString &key) const
{
    const QVariant value = objectForKey(key);
    if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString().trimmed().toLower();
        if (text == u"yes" || text == u"true")
            return true;
        bool ok = false;
        const double number = text.toDouble(&ok);
        return ok && number != 0.0;
    }
    return value.toBool();
}

QList<QVariantMap> PLUserDefaults::arrayForKey(const QString &key) const
{
    const QVariant value = objectForKey(key);
    if (value.typeId() != QMetaType::QVariantList)
        return {};
    QList<QVariantMap> result;
    for (const QVariant &entry : value.toList()) {
        if (entry.typeId() != QMetaType::QVariantMap)
            return {};
        result.append(entry.toMap());
    }
    return result;
}

void PLUserDefaults::setObject(const QVariant &value, const QString &key)
{
    if (!value.isValid()) {
        removeObjectForKey(key);
        return;
    }
    m_settings->setValue(key, value);
}

void PLUserDefaults::setInteger(qint64 value, const QString &key)
{
    setObject(QVariant(value), key);
}

void PLUserDefaults::setDouble(double value, const QString &key)
{
    setObject(QVariant(value), key);
}

void PLUserDefaults::setBool(bool value, const QString &key)
{
    setObject(QVariant(value), key);
}

void PLUserDefaults::setString(const QString &value, const QString &key)
{
    setObject(QVariant(value), key);
}

void PLUserDefaults::setArray(const QList<QVariantMap> &value, const QString &key)
{
    QVariantList list;
    list.reserve(value.size());
    for (const QVariantMap &entry : value)
        list.append(entry);
    setObject(list, key);
}

void PLUserDefaults::removeObjectForKey(const QString &key)
{
    m_settings->remove(key);
}

void PLUserDefaults::setColor(const PLColor &color, const QString &key)
{
    setObject(color.archived(), key);
}

std::optional<PLColor> PLUserDefaults::colorForKey(const QString &key) const
{
    const QVariant value = objectForKey(key);
    if (value.typeId() != QMetaType::QString)
        return std::nullopt;
    return PLColor::fromArchived(value.toString());
}

bool PLUserDefaults::synchronize()
{
    m_settings->sync();
    if (m_settings->status() != QSettings::NoError) {
        qCWarning(lcSettings) << "could not write the settings to" << m_settings->fileName();
        return false;
    }
    return true;
}
