#include "app/CSingleInstance.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QDeadlineTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QVariant>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

namespace KELCTRL {

namespace {
// A message is a 32-bit length and that many bytes of UTF-8; the answer is one byte.
constexpr qint32 kMaxMessageBytes = 1 << 20;
} // namespace

CSingleInstance::CSingleInstance(const QString& startupWindowName, const QString& lockFilePath)
    : m_windowName(startupWindowName), m_lockPath(lockFilePath) {}

CSingleInstance::~CSingleInstance() {
    Release();
}

QString CSingleInstance::ServerName() const {
    // The lock file's folder is the data folder: instances with different data folders (another
    // XDG_DATA_HOME, parallel test runs) are different instances and must not share a socket.
    const QByteArray folder =
        QCryptographicHash::hash(m_lockPath.toUtf8(), QCryptographicHash::Sha1).toHex().left(12);
    return m_windowName + QLatin1Char('_') + QString::number(::getuid()) + QLatin1Char('_') +
           QString::fromLatin1(folder);
}

bool CSingleInstance::Acquire(int timeoutMs) {
    if (m_lockFd >= 0)
        return true;
    m_lockError.clear();
    const int fd = ::open(m_lockPath.toLocal8Bit().constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) {
        m_lockError = QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0) {
            m_lockFd = fd;
            return true;
        }
        if (errno != EWOULDBLOCK && errno != EINTR) { // e.g. a file system without locks
            m_lockError = QString::fromLocal8Bit(std::strerror(errno));
            break;
        }
        if (std::chrono::steady_clock::now() >= deadline)
            break;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    ::close(fd);
    return false;
}

bool CSingleInstance::Listen(Handler handler) {
    if (m_lockFd < 0)
        return false;
    m_handler = std::move(handler);
    if (!m_server) {
        m_server = new QLocalServer(this);
        m_server->setSocketOptions(QLocalServer::UserAccessOption);
        connect(m_server, &QLocalServer::newConnection, this, &CSingleInstance::OnNewConnection);
    }
    if (m_server->isListening())
        return true;
    // A socket file left by a crashed owner is stale: we hold the lock, so nobody else uses it.
    QLocalServer::removeServer(ServerName());
    return m_server->listen(ServerName());
}

void CSingleInstance::Release() {
    if (m_server) {
        m_server->close();
        delete m_server;
        m_server = nullptr;
    }
    if (m_lockFd >= 0) {
        ::flock(m_lockFd, LOCK_UN);
        ::close(m_lockFd);
        m_lockFd = -1;
    }
}

void CSingleInstance::OnNewConnection() {
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { OnReadyRead(socket); });
        if (socket->bytesAvailable() > 0)
            OnReadyRead(socket);
    }
}

void CSingleInstance::OnReadyRead(QLocalSocket* socket) {
    if (socket->property("answered").toBool() || socket->bytesAvailable() < 4)
        return;
    QByteArray head = socket->peek(4);
    qint32 size = 0;
    QDataStream(head) >> size;
    if (size < 0 || size > kMaxMessageBytes) {
        socket->write("0", 1);
        socket->setProperty("answered", true);
        socket->disconnectFromServer();
        return;
    }
    if (socket->bytesAvailable() < 4 + size)
        return; // the rest is on its way
    socket->read(4);
    const QString cmdLine = QString::fromUtf8(socket->read(size));
    const bool accepted = m_handler && m_handler(cmdLine);
    socket->write(accepted ? "1" : "0", 1);
    socket->setProperty("answered", true);
    socket->flush();
    socket->disconnectFromServer();
}

bool CSingleInstance::SendStartupMsg(const QString& cmdLine, int timeoutMs) const {
    QDeadlineTimer deadline(timeoutMs);
    QLocalSocket socket;
    socket.connectToServer(ServerName());
    if (!socket.waitForConnected(int(deadline.remainingTime())))
        return false;
    const QByteArray text = cmdLine.toUtf8();
    QByteArray message;
    QDataStream(&message, QIODevice::WriteOnly) << qint32(text.size());
    message += text;
    socket.write(message);
    if (!socket.waitForBytesWritten(int(deadline.remainingTime())))
        return false;
    while (socket.bytesAvailable() < 1) {
        if (deadline.hasExpired() || !socket.waitForReadyRead(int(deadline.remainingTime())))
            return false;
    }
    char answer = 0;
    socket.read(&answer, 1);
    return answer == '1';
}

} // namespace KELCTRL
