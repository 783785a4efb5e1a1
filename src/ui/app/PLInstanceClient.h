#pragma once

#include <QObject>
#include <QStringList>

class QLocalSocket;

// A launch's way to hand its files to the Plumeo already running in the session (see
// PLInstanceServer). Asynchronous: it ends in delivered() or failed(), once.
class PLInstanceClient : public QObject
{
    Q_OBJECT

public:
    explicit PLInstanceClient(QObject *parent = nullptr);
    ~PLInstanceClient() override;

    // Relative paths are taken from the current folder before they leave this process.
    void send(const QString &serverName, const QStringList &paths, const QString &activationToken);

    // For start-up, before any window: true once the running instance has taken the files, false
    // when none runs or it does not answer within the time.
    static bool sendAndWait(const QString &serverName, const QStringList &paths, const QString &activationToken,
                            int timeoutMilliseconds);

signals:
    void delivered();
    void failed(const QString &reason);

private:
    void finish(bool delivered, const QString &reason = {});

    QLocalSocket *m_socket;
    bool m_finished = false;
};
