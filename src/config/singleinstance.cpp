#include "config/singleinstance.h"

#include "app/log.h"

#include <QCryptographicHash>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>

#include <unistd.h>

namespace {

constexpr int ConnectTimeoutMs = 1000;
const QByteArray RaiseMessage = QByteArrayLiteral("raise\n");

} // namespace

CSingleInstance::CSingleInstance(const QString& userPath, QObject* parent) : QObject(parent)
{
    // A short hash keeps the socket path within the length a Unix socket allows.
    const QByteArray hash = QCryptographicHash::hash(userPath.toUtf8(), QCryptographicHash::Sha1).toHex().left(12);
    QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (folder.isEmpty() || !QDir(folder).exists())
        folder = QDir::tempPath();
    m_name = QStringLiteral("%1/lumora-config-%2-%3").arg(folder).arg(getuid()).arg(QString::fromLatin1(hash));
}

CSingleInstance::~CSingleInstance() = default;

bool CSingleInstance::RaiseRunning()
{
    QLocalSocket socket;
    socket.connectToServer(m_name);
    if (!socket.waitForConnected(ConnectTimeoutMs))
        return false;
    socket.write(RaiseMessage);
    socket.waitForBytesWritten(ConnectTimeoutMs);
    socket.disconnectFromServer();
    return true;
}

bool CSingleInstance::Listen()
{
    m_server = std::make_unique<QLocalServer>();
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    // Nobody answered, so a socket file left there is from a run that died.
    QLocalServer::removeServer(m_name);
    if (!m_server->listen(m_name))
        return Error("The front end can't listen at \"%s\": %s", qPrintable(m_name),
                     qPrintable(m_server->errorString()));
    connect(m_server.get(), &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                if (socket->readAll().contains(RaiseMessage.trimmed()))
                    Q_EMIT raiseRequested();
            });
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
    return true;
}
