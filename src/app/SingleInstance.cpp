#include "app/SingleInstance.h"

#include "app/AppLog.h"

#include <QCryptographicHash>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>

namespace {
constexpr int kAnswerMs = 2000;
const QByteArray kRaise = "raise\n";
} // namespace

SingleInstance::SingleInstance(const QString& folder, QObject* parent)
    : QObject(parent), folder_(folder) {
    // Per user and per store folder, short enough for a socket path.
    const QByteArray key = QDir(folder).absolutePath().toUtf8();
    serverName_ = QStringLiteral("gigmora-") +
                  QString::fromLatin1(
                      QCryptographicHash::hash(key, QCryptographicHash::Sha256).toHex().left(16));
}

SingleInstance::~SingleInstance() = default;

bool SingleInstance::acquire() {
    QDir().mkpath(folder_);
    lock_ = std::make_unique<QLockFile>(QDir(folder_).filePath(QStringLiteral("Gigmora.lock")));
    // No age limit: a lock is stale only when its process is gone, never because a show ran
    // long.
    lock_->setStaleLockTime(0);
    if (lock_->tryLock(0)) {
        listen();
        return true;
    }
    qint64 pid = 0;
    QString host, app;
    lock_->getLockInfo(&pid, &host, &app);
    qCWarning(lcApp).noquote() << "Gigmora is already running (process" << pid
                               << "); its window is brought forward and this one quits.";
    if (!askRunningToRaise())
        qCWarning(lcApp) << "The running Gigmora did not answer; its library is left alone.";
    lock_.reset();
    return false;
}

void SingleInstance::listen() {
    server_ = new QLocalServer(this);
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    // A socket left by a crash would refuse the name; the lock says it is ours now.
    QLocalServer::removeServer(serverName_);
    if (!server_->listen(serverName_)) {
        qCWarning(lcApp).noquote()
            << "A second Gigmora cannot reach this one:" << server_->errorString();
        return;
    }
    connect(server_, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* peer = server_->nextPendingConnection()) {
            connect(peer, &QLocalSocket::disconnected, peer, &QObject::deleteLater);
            connect(peer, &QLocalSocket::readyRead, this, [this, peer] {
                // Only the one word is understood; anything else is dropped unread.
                if (peer->readAll().startsWith(kRaise.trimmed())) emit raiseRequested();
                peer->disconnectFromServer();
            });
        }
    });
}

bool SingleInstance::askRunningToRaise() const {
    QLocalSocket socket;
    socket.connectToServer(serverName_);
    if (!socket.waitForConnected(kAnswerMs)) return false;
    socket.write(kRaise);
    const bool sent = socket.waitForBytesWritten(kAnswerMs);
    socket.disconnectFromServer();
    return sent;
}
