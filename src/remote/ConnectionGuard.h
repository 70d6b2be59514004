#pragma once

#include "remote/RequestMeter.h"

#include <QObject>
#include <QTimer>
#include <functional>

class QTcpSocket;

// Watches one connection to the web remote before the HTTP server reads from it: a request
// (line, headers and anything after) of more than 8 KB gets 431 (or 413 once the headers have
// ended) and the connection is closed; a connection that completes no request within 10 s is
// closed. A connection that became a WebSocket is the page's own and is left alone.
class ConnectionGuard : public QObject {
    Q_OBJECT
public:
    static constexpr qint64 kMaxRequestBytes = 8 * 1024;
    static constexpr int kIdleMs = 10000;

    // Becomes the socket's child; connect it before anything else reads the socket.
    explicit ConnectionGuard(QTcpSocket* socket);

    // A whole request arrived: the count starts again, and so does the idle time.
    void requestHandled();
    void upgraded();
    // Told when the connection became a page.
    std::function<void()> becamePage;
    bool isUpgraded() const { return upgraded_; }

    static ConnectionGuard* of(QTcpSocket* socket);

private:
    void bytesArrived();
    void refuse(int status, const QByteArray& reason);

    QTcpSocket* socket_;
    QTimer idle_;
    RequestMeter meter_{kMaxRequestBytes};
    bool upgraded_ = false;
    bool refused_ = false;
};
