#include "remote/ConnectionGuard.h"

#include "platform/Guard.h"

#include <QTcpSocket>

namespace {
constexpr int kDrainMs = 2000;
}

ConnectionGuard::ConnectionGuard(QTcpSocket* socket) : QObject(socket), socket_(socket) {
    setObjectName(QStringLiteral("connectionGuard"));
    connect(socket, &QTcpSocket::readyRead, this,
            [this] { guarded("ConnectionGuard::bytesArrived", [this] { bytesArrived(); }); });
    idle_.setSingleShot(true);
    idle_.setInterval(kIdleMs);
    connect(&idle_, &QTimer::timeout, socket, &QTcpSocket::abort);
    idle_.start();
}

ConnectionGuard* ConnectionGuard::of(QTcpSocket* socket) {
    return socket ? socket->findChild<ConnectionGuard*>(QStringLiteral("connectionGuard"),
                                                        Qt::FindDirectChildrenOnly)
                  : nullptr;
}

void ConnectionGuard::requestHandled() {
    meter_.reset();
    if (!upgraded_) idle_.start();
}

void ConnectionGuard::upgraded() {
    upgraded_ = true;
    idle_.stop();
    if (becamePage) becamePage();
}

void ConnectionGuard::bytesArrived() {
    if (upgraded_ || refused_) return;
    // What the server has not read yet is what came since it last read.
    switch (meter_.add(socket_->peek(socket_->bytesAvailable()))) {
    case RequestMeter::Verdict::Fine:
        return;
    case RequestMeter::Verdict::ContentTooLarge:
        refuse(413, "Content Too Large");
        return;
    case RequestMeter::Verdict::HeadersTooLarge:
        refuse(431, "Request Header Fields Too Large");
        return;
    }
}

void ConnectionGuard::refuse(int status, const QByteArray& reason) {
    refused_ = true;
    idle_.stop();
    // The server never sees this connection again: its reading ends here.
    disconnect(socket_, &QTcpSocket::readyRead, nullptr, nullptr);
    if (socket_->isTransactionStarted()) socket_->commitTransaction();
    socket_->readAll();
    socket_->write("HTTP/1.1 " + QByteArray::number(status) + ' ' + reason +
                   "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    // What the client still sends is read and dropped for a moment, so that closing does not
    // reset the connection before the answer is read; then it ends.
    connect(socket_, &QTcpSocket::readyRead, this, [this] { socket_->readAll(); });
    QTimer::singleShot(kDrainMs, socket_, [s = socket_] { s->disconnectFromHost(); });
}
