#pragma once

#include <QString>

// One row of the text-colours preferences: a token class with the settings keys of its two colours
// and the notifications to post when either changes.
class PLSyntaxHighlightingColorSetting
{
public:
    PLSyntaxHighlightingColorSetting(QString title, QString userDefaultsBackgroundKey, QString backgroundNotification,
                                     QString userDefaultsForegroundKey, QString foregroundNotification);

    const QString &title() const { return m_title; }
    const QString &foreground() const { return m_foreground; }
    const QString &foregroundNotification() const { return m_foregroundNotification; }
    const QString &background() const { return m_background; }
    const QString &backgroundNotification() const { return m_backgroundNotification; }

private:
    QString m_title;
    QString m_foreground;
    QString m_foregroundNotification;
    QString m_background;
    QString m_backgroundNotification;
};
