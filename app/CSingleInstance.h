#pragma once
// One running instance per user and product. The first instance holds an exclusive lock on a file in
// its data folder (the kernel frees it if the process dies) and listens on a local socket named after
// the start-up window name. A later instance fails to take the lock, hands its command line over the
// socket, and reads back '1' (accepted) or '0' (refused).
#include <QObject>
#include <QString>

#include <functional>

class QLocalServer;
class QLocalSocket;

namespace KELCTRL {

class CSingleInstance : public QObject {
public:
    // Decides on a command line handed over by another instance: true accepts it.
    using Handler = std::function<bool(const QString& cmdLine)>;

    CSingleInstance(const QString& startupWindowName, const QString& lockFilePath);
    ~CSingleInstance() override;

    // Tries to take the lock for up to timeoutMs. True when this process is the first instance. False
    // either because another instance holds the lock or because the lock file cannot be opened; the
    // latter leaves its reason in LockFileError().
    bool Acquire(int timeoutMs = 10);
    // Why the lock file could not be opened or locked (empty when another instance simply holds it).
    const QString& LockFileError() const { return m_lockError; }
    bool IsOwner() const { return m_lockFd >= 0; }
    // Starts listening (owner only). The handler runs on the thread that owns this object.
    bool Listen(Handler handler);
    // Frees the lock and stops listening.
    void Release();

    // Sends a command line to the running instance. True when it answered '1' within timeoutMs.
    bool SendStartupMsg(const QString& cmdLine, int timeoutMs = 2000) const;

    // The socket name: the start-up window name, made unique per user and data folder.
    QString ServerName() const;

private:
    void OnNewConnection();
    void OnReadyRead(QLocalSocket* socket);

    QString m_windowName;
    QString m_lockPath;
    QString m_lockError;
    int m_lockFd = -1;
    QLocalServer* m_server = nullptr;
    Handler m_handler;
};

} // namespace KELCTRL
