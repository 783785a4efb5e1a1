#pragma once

#include "core/foundation/PLColor.h"

#include <QColorDialog>
#include <QPointer>
#include <QPushButton>

#include <optional>

class PLColorWellDelegate;

// A button that shows a colour of the settings and lets the user pick another in Qt's colour
// dialog, transparency included. A colour it is given is stored under its key and written to
// disk at once; its delegate hears of every colour, stored or not.
class PLColorWell : public QPushButton
{
    Q_OBJECT

public:
    explicit PLColorWell(QWidget *parent = nullptr);

    const QString &userDefaultsKey() const { return m_userDefaultsKey; }
    // Binds the well: reads the colour under the key and passes it to setColor, so binding
    // stores the colour again and tells the delegate.
    void setUserDefaultsKey(const QString &key);

    PLColorWellDelegate *delegate() const { return m_delegate; }
    void setDelegate(PLColorWellDelegate *delegate) { m_delegate = delegate; }
    // The notification the delegate posts for this well, when it has no better one.
    const QString &notificationKey() const { return m_notificationKey; }
    void setNotificationKey(const QString &key) { m_notificationKey = key; }

    const std::optional<PLColor> &color() const { return m_color; }
    // Shows the colour; with a key and a colour, stores it and writes the settings to disk. No
    // colour is never stored. The delegate is told in every case.
    void setColor(const std::optional<PLColor> &color);

    // Opens the colour dialog on the shown colour; the colour chosen there goes to setColor.
    void activate();
    // The dialog the well opened and that is still open.
    QColorDialog *colorDialog() const { return m_colorDialog; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_userDefaultsKey;
    QString m_notificationKey;
    PLColorWellDelegate *m_delegate = nullptr;
    std::optional<PLColor> m_color;
    QPointer<QColorDialog> m_colorDialog;
};
