#pragma once

#include "performance/StageSnapshot.h"
#include "platform/Result.h"

#include <QAbstractHttpServer>
#include <QList>
#include <QPointer>
#include <QTimer>
#include <memory>

class PinGate;
class QWebSocket;
class RemoteListener;

// The web remote: one page, served from inside the program, that shows a phone's browser the
// running order and lets it step through the set. Only a browser that gave the PIN reads or
// controls anything; every change reaches the open pages at once over a WebSocket. The page
// can only move through the set, never edit it.
class WebRemote : public QAbstractHttpServer {
    Q_OBJECT
public:
    static constexpr int kPingMs = 15000;

    // `clock` is for the PIN lockout (tests pass their own to skip the minute).
    explicit WebRemote(const QString& pin, std::function<qint64()> clock = {},
                       QObject* parent = nullptr);
    ~WebRemote() override;

    // False (and one log line saying why) when the port cannot be had.
    Result<> listen(const QHostAddress& address, quint16 port);
    quint16 port() const;
    void publish(const StageSnapshot& stage);
    int pageCount() const { return int(pages_.size()); }

signals:
    void nextRequested();
    void previousRequested();
    // A tap on a row of the running order the page showed.
    void rowRequested(int row);

protected:
    bool handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) override;
    void missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) override;

private:
    bool answer(const QHttpServerRequest& request, QTcpSocket* socket);
    void login(const QHttpServerRequest& request, QTcpSocket* socket, const QString& pin);
    void takePages();
    void command(QWebSocket* page, const QString& text);
    void pingPages();
    QByteArray stageJson() const;

    std::unique_ptr<PinGate> gate_;
    QPointer<RemoteListener> listener_;
    QList<QWebSocket*> pages_; // children of this object
    StageSnapshot stage_;
    QByteArray stageJson_;
    QTimer ping_;
};
