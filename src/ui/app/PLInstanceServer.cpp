#include "ui/app/PLInstanceServer.h"

#include "core/foundation/PLLogging.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>

QString PLInstanceServer::defaultServerName()
{
    // The runtime folder belongs to the user alone and lasts as long as the login.
    return QDir(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation)).filePath(QStringLiteral("plumeo.socket"));
}

PLInstanceServer::PLInstanceServer(QObject *parent) : QObject(parent), m_server(new QLocalServer(this))
{
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readRequest(socket); });
            readRequest(socket);
        }
    });
}

PLInstanceServer::~PLInstanceServer() = default;

bool PLInstanceServer::listen(const QString &name)
{
    if (m_server->listen(name))
        return true;
    if (m_server->serverError() == QAbstractSocket::AddressInUseError) {
        QLocalServer::removeServer(name);
        if (m_server->listen(name))
            return true;
    }
    qCWarning(lcUi) << "Files opened later start another Plumeo: cannot listen on" << name << ":" << m_server->errorString();
    return false;
}

QString PLInstanceServer::fullServerName() const
{
    return m_server->fullServerName();
}

void PLInstanceServer::readRequest(QLocalSocket *socket)
{
    if (!socket->canReadLine()) {
        if (socket->bytesAvailable() > maximumRequestSize) {
            qCWarning(lcUi) << "A request from another launch was too long and is ignored.";
            socket->abort();
        }
        return;
    }
    const QByteArray line = socket->readLine(maximumRequestSize);
    QJsonParseError parseError;
    const QJsonDocument request = QJsonDocument::fromJson(line, &parseError);
    const QJsonValue files = request.object().value(QStringLiteral("files"));
    if (!request.isObject() || !files.isArray()) {
        qCWarning(lcUi) << "A request from another launch was not understood and is ignored:"
                        << (parseError.error == QJsonParseError::NoError ? QStringLiteral("no list of files") : parseError.errorString());
        socket->abort();
        return;
    }
    QStringList paths;
    for (const QJsonValue &file : files.toArray()) {
        if (file.isString() && !file.toString().isEmpty())
            paths << file.toString();
    }
    socket->write("ok\n");
    socket->flush();
    emit openFilesRequested(paths, request.object().value(QStringLiteral("activationToken")).toString());
}
