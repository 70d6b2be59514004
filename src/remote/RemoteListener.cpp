#include "remote/RemoteListener.h"

#include "remote/ConnectionGuard.h"
#include "platform/PeerAddress.h"

#include <QPointer>
#include <QTcpSocket>

RemoteListener::RemoteListener(QObject* parent) : QTcpServer(parent) {}

int RemoteListener::connectionsFrom(const QHostAddress& address) const {
    return perAddress_.value(plainAddress(address));
}

void RemoteListener::incomingConnection(qintptr descriptor) {
    auto socket = std::make_unique<QTcpSocket>();
    if (!socket->setSocketDescriptor(descriptor)) return;
    const QHostAddress from = plainAddress(socket->peerAddress());
    if (total_ >= kMaxConnections || perAddress_.value(from) >= kMaxPerAddress) {
        socket->abort();
        return;
    }
    ++total_;
    ++perAddress_[from];
    QTcpSocket* s = socket.release();
    s->setParent(this);
    counted_.insert(s, from);
    connect(s, &QObject::destroyed, this, [this](QObject* gone) {
        --total_;
        release(gone);
    });
    auto* guard = new ConnectionGuard(s);
    guard->becamePage = [self = QPointer(this), s] {
        if (self) self->release(s);
    };
    addPendingConnection(s);
}

void RemoteListener::release(QObject* socket) {
    const auto it = counted_.constFind(socket);
    if (it == counted_.constEnd()) return;
    if (--perAddress_[*it] <= 0) perAddress_.remove(*it);
    counted_.erase(it);
}
