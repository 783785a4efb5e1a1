#pragma once

#include <QString>

#include <exception>

// The failure report that fallible operations hand back beside their flag or absent result.
struct PLError
{
    QString domain;
    int code = 0;
    QString message;

    bool isSet() const { return !message.isEmpty() || code != 0; }
};

inline void PLSetError(PLError *error, const QString &domain, int code, const QString &message)
{
    if (error)
        *error = PLError{domain, code, message};
}

// Thrown for the few documented programming errors ("IndexOutOfBoundsException",
// "XSViewControllerException"); never for bad input.
class PLException : public std::exception
{
public:
    PLException(QString name, QString reason)
        : m_name(std::move(name)), m_reason(std::move(reason)), m_what((m_name + QStringLiteral(": ") + m_reason).toUtf8())
    {
    }

    const QString &name() const { return m_name; }
    const QString &reason() const { return m_reason; }
    const char *what() const noexcept override { return m_what.constData(); }

private:
    QString m_name;
    QString m_reason;
    QByteArray m_what;
};
