#pragma once

#include <QObject>
#include <QStringList>

class QLocalServer;
class QLocalSocket;

// The running Plumeo's end of the user's session socket: a later launch hands its files over
// here instead of opening a second application. Each request is one line of JSON,
// {"files": [absolute paths], "activationToken": "…"}, answered by "ok" once taken.
class PLInstanceServer : public QObject
{
    Q_OBJECT

public:
    // At most this much is read from one launch; a longer request is refused.
    static constexpr qint64 maximumRequestSize = 1024 * 1024;

    // The socket of this user's session, in the private runtime folder.
    static QString defaultServerName();

    explicit PLInstanceServer(QObject *parent = nullptr);
    ~PLInstanceServer() override;

    // Listens on the name; a socket left behind by an instance that crashed is replaced.
    bool listen(const QString &name);
    QString fullServerName() const;

signals:
    // The token lets the window come forward on desktops that only raise a window on request
    // of the launch that caused it; it is empty when the launcher gave none.
    void openFilesRequested(const QStringList &paths, const QString &activationToken);

private:
    void readRequest(QLocalSocket *socket);

    QLocalServer *m_server;
};
