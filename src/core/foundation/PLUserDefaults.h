#pragma once

#include "core/foundation/PLColor.h"

#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>

#include <memory>
#include <optional>

class QSettings;

// The user's preferences store: values the user set live in an INI file under
// $XDG_CONFIG_HOME/plumeo/, and the registered defaults answer for every key the user never set.
// Registered defaults are a fallback layer only and are never written to disk.
class PLUserDefaults
{
public:
    // The store of this process, created on first use at the standard location.
    static PLUserDefaults &standardUserDefaults();
    // Points the process-wide store at another file (tests, and the CLI's --settings option).
    static void resetStandardUserDefaults(const QString &iniPath = QString());

    explicit PLUserDefaults(const QString &iniPath);
    ~PLUserDefaults();
    PLUserDefaults(const PLUserDefaults &) = delete;
    PLUserDefaults &operator=(const PLUserDefaults &) = delete;

    static QString standardLocation();
    QString fileName() const;

    void registerDefaults(const QVariantMap &defaults);
    const QVariantMap &registeredDefaults() const { return m_registered; }

    // The user's value if there is one, else the registered default, else an invalid QVariant.
    QVariant objectForKey(const QString &key) const;
    bool hasUserValue(const QString &key) const;

    QString stringForKey(const QString &key) const;
    // Numbers the way the platform reads them: 0 (or NO) for an absent or non-numeric value.
    qint64 integerForKey(const QString &key) const;
    double doubleForKey(const QString &key) const;
    bool boolForKey(const QString &key) const;
    // An ordered list of dictionaries (the pane layout); empty when absent or of another kind.
    QList<QVariantMap> arrayForKey(const QString &key) const;

    void setObject(const QVariant &value, const QString &key);
    void setInteger(qint64 value, const QString &key);
    void setDouble(double value, const QString &key);
    void setBool(bool value, const QString &key);
    void setString(const QString &value, const QString &key);
    void setArray(const QList<QVariantMap> &value, const QString &key);
    void removeObjectForKey(const QString &key);

    // Colours are kept in an archived string form; anything else under the key reads as no colour.
    void setColor(const PLColor &color, const QString &key);
    std::optional<PLColor> colorForKey(const QString &key) const;

    bool synchronize();

private:
    std::unique_ptr<QSettings> m_settings;
    QVariantMap m_registered;
};
