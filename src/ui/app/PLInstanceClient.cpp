#include "ui/app/PLInstanceClient.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QTimer>

PLInstanceClient::PLInstanceClient(QObject *parent) : QObject(parent), m_socket(new QLocalSocket(this))
{
    connect(m_socket, &QLocalSocket::errorOccurred, this, [this] { finish(false, m_socket->errorString()); });
    connect(m_socket, &QLocalSocket::disconnected, this, [this] { finish(false, tr("The running Plumeo closed the connection.")); });
    connect(m_socket, &QLocalSocket::readyRead, this, [this] {
        if (!m_socket->canReadLine())
            return;
        const QByteArray answer = m_socket->readLine().trimmed();
        finish(answer == "ok", tr("The running Plumeo answered “%1”.").arg(QString::fromUtf8(answer)));
    });
}

PLInstanceClient::~PLInstanceClient() = default;

void PLInstanceClient::send(const QString &serverName, const QStringList &paths, const QString &activationToken)
{
    QJsonArray files;
    for (const QString &path : paths)
        files.append(QFileInfo(path).absoluteFilePath());
    QJsonObject request{{QStringLiteral("files"), files}};
    if (!activationToken.isEmpty())
        request.insert(QStringLiteral("activationToken"), activationToken);
    const QByteArray line = QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n';
    connect(m_socket, &QLocalSocket::connected, this, [this, line] { m_socket->write(line); });
    m_socket->connectToServer(serverName);
}

bool PLInstanceClient::sendAndWait(const QString &serverName, const QStringList &paths, const QString &activationToken,
                                   int timeoutMilliseconds)
{
    PLInstanceClient client;
    QEventLoop loop;
    bool wasDelivered = false;
    connect(&client, &PLInstanceClient::delivered, &loop, [&] {
        wasDelivered = true;
        loop.quit();
    });
    connect(&client, &PLInstanceClient::failed, &loop, &QEventLoop::quit);
    QTimer::singleShot(timeoutMilliseconds, &loop, &QEventLoop::quit);
    client.send(serverName, paths, activationToken);
    if (!client.m_finished)
        loop.exec();
    return wasDelivered;
}

void PLInstanceClient::finish(bool wasDelivered, const QString &reason)
{
    if (m_finished)
        return;
    m_finished = true;
    m_socket->disconnect(this);
    m_socket->abort();
    if (wasDelivered)
        emit delivered();
    else
        emit failed(reason);
}
