#include "remote/WebRemote.h"

#include "platform/Guard.h"
#include "platform/PeerAddress.h"
#include "remote/ConnectionGuard.h"
#include "remote/PinGate.h"
#include "remote/RemoteCommand.h"
#include "remote/RemoteListener.h"
#include "remote/RemoteLog.h"
#include "remote/RemotePages.h"
#include "remote/RemoteRoute.h"

#include <QDateTime>
#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>
#include <QWebSocket>

namespace {
using Status = QHttpServerResponder::StatusCode;
constexpr qint64 kMaxFrameBytes = 4096;
constexpr int kMissedPings = 3;
constexpr const char* kHeard = "heardMs";

// One answer with the headers every answer carries.
void send(QHttpServerResponder&& r, Status status, const QByteArray& body, const QByteArray& type,
          const QList<std::pair<QByteArray, QByteArray>>& extra = {}) {
    r.writeStatusLine(status);
    r.writeHeader("Content-Type", type);
    r.writeHeader("Cache-Control", "no-store");
    r.writeHeader("Content-Security-Policy", RemotePages::kPolicy);
    r.writeHeader("X-Content-Type-Options", "nosniff");
    r.writeHeader("Referrer-Policy", "no-referrer");
    for (const auto& [key, value] : extra)
        r.writeHeader(key, value);
    r.writeHeader("Content-Length", QByteArray::number(body.size()));
    r.writeBody(body);
}

void sendText(QHttpServerResponder&& r, Status status, const QByteArray& text,
              const QList<std::pair<QByteArray, QByteArray>>& extra = {}) {
    send(std::move(r), status, text + '\n', "text/plain; charset=utf-8", extra);
}
} // namespace

WebRemote::WebRemote(const QString& pin, std::function<qint64()> clock, QObject* parent)
    : QAbstractHttpServer(parent), gate_(std::make_unique<PinGate>(pin, std::move(clock))) {
    connect(this, &QAbstractHttpServer::newWebSocketConnection, this,
            [this] { guarded("WebRemote::takePages", [this] { takePages(); }); });
    ping_.setInterval(kPingMs);
    connect(&ping_, &QTimer::timeout, this,
            [this] { guarded("WebRemote::pingPages", [this] { pingPages(); }); });
    ping_.start();
    stageJson_ = stageJson();
}

WebRemote::~WebRemote() = default;

Result<> WebRemote::listen(const QHostAddress& address, quint16 port) {
    auto listener = std::make_unique<RemoteListener>();
    // Room for a burst of connections while the stage loop is busy for a moment.
    listener->setListenBacklogSize(128);
    if (!listener->listen(address, port)) {
        qCWarning(lcRemote).noquote() << "The web remote cannot listen on" << address.toString()
                                      << "port" << port << ":" << listener->errorString();
        return {listener->serverError() == QAbstractSocket::AddressInUseError
                    ? Failure::Code::NameTaken
                    : Failure::Code::Refused,
                listener->errorString()};
    }
    listener_ = listener.get();
    bind(listener.release()); // the server becomes its parent
    qCInfo(lcRemote).noquote() << "The web remote listens on port" << listener_->serverPort();
    return {};
}

quint16 WebRemote::port() const {
    return listener_ ? listener_->serverPort() : 0;
}

bool WebRemote::handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) {
    bool handled = false;
    if (!guarded("WebRemote::handleRequest", [&] { handled = answer(request, socket); }))
        socket->abort();
    return handled;
}

void WebRemote::missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) {
    // Only a refused WebSocket upgrade comes here.
    guarded("WebRemote::missingHandler",
            [&] { sendText(makeResponder(request, socket), Status::Forbidden, "Forbidden"); });
}

bool WebRemote::answer(const QHttpServerRequest& request, QTcpSocket* socket) {
    if (ConnectionGuard* guard = ConnectionGuard::of(socket)) guard->requestHandled();
    const RemoteRoute route =
        RemoteRoute::of(request.method() == QHttpServerRequest::Method::Get, request.url(),
                        request.headers(), !request.body().isEmpty(),
                        [this](const QString& token) { return gate_->hasSession(token); });
    switch (route.kind) {
    case RemoteRoute::Kind::Upgrade:
        if (ConnectionGuard* guard = ConnectionGuard::of(socket)) guard->upgraded();
        return true;
    case RemoteRoute::Kind::RefusedUpgrade:
        return false;
    case RemoteRoute::Kind::OnlyGet:
        sendText(makeResponder(request, socket), Status::MethodNotAllowed, "Only GET",
                 {{"Allow", "GET"}});
        return true;
    case RemoteRoute::Kind::NoBodies:
        sendText(makeResponder(request, socket), Status::PayloadTooLarge, "No bodies");
        return true;
    case RemoteRoute::Kind::Login:
        login(request, socket, route.pin);
        return true;
    case RemoteRoute::Kind::StagePage:
        send(makeResponder(request, socket), Status::Ok, RemotePages::stagePage(),
             "text/html; charset=utf-8");
        return true;
    case RemoteRoute::Kind::PinPage:
        send(makeResponder(request, socket), Status::Ok, RemotePages::pinPage({}),
             "text/html; charset=utf-8");
        return true;
    case RemoteRoute::Kind::Asset:
        break;
    }
    const RemotePages::File file = RemotePages::asset(route.path);
    if (file.body.isEmpty())
        sendText(makeResponder(request, socket), Status::NotFound, "Not found");
    else
        send(makeResponder(request, socket), Status::Ok, file.body, file.type);
    return true;
}

void WebRemote::login(const QHttpServerRequest& request, QTcpSocket* socket, const QString& pin) {
    const QByteArray html = "text/html; charset=utf-8";
    switch (gate_->check(socket->peerAddress(), pin)) {
    case PinGate::Verdict::Accepted: {
        // The PIN leaves the address bar: the page is reached again without it.
        const QByteArray cookie = RemoteRoute::kSessionCookie + '=' +
                                  gate_->openSession().toLatin1() +
                                  "; Path=/; HttpOnly; SameSite=Strict";
        send(makeResponder(request, socket), Status::SeeOther, {}, "text/plain",
             {{"Location", "/"}, {"Set-Cookie", cookie}});
        qCInfo(lcRemote).noquote()
            << "A browser at" << plainAddress(socket->peerAddress()).toString() << "gave the PIN.";
        return;
    }
    case PinGate::Verdict::Wrong:
        send(makeResponder(request, socket), Status::Unauthorized,
             RemotePages::pinPage("Wrong PIN."), html);
        return;
    case PinGate::Verdict::LockedOut:
        send(makeResponder(request, socket), Status::TooManyRequests,
             RemotePages::pinPage("Too many wrong PINs. Try again in a minute."), html,
             {{"Retry-After", "60"}});
        qCWarning(lcRemote).noquote()
            << "Wrong PINs from" << plainAddress(socket->peerAddress()).toString()
            << ": refused for a minute.";
        return;
    }
}

void WebRemote::takePages() {
    while (hasPendingWebSocketConnections()) {
        std::unique_ptr<QWebSocket> owned = nextPendingWebSocketConnection();
        if (!owned) continue;
        QWebSocket* page = owned.release();
        page->setParent(this);
        page->setMaxAllowedIncomingFrameSize(kMaxFrameBytes);
        page->setMaxAllowedIncomingMessageSize(kMaxFrameBytes);
        pages_.append(page);
        page->setProperty(kHeard, QDateTime::currentMSecsSinceEpoch());
        connect(page, &QWebSocket::pong, page,
                [page] { page->setProperty(kHeard, QDateTime::currentMSecsSinceEpoch()); });
        connect(page, &QWebSocket::textMessageReceived, this, [this, page](const QString& text) {
            guarded("WebRemote::command", [&] { command(page, text); });
        });
        connect(page, &QWebSocket::binaryMessageReceived, page,
                [page] { page->close(QWebSocketProtocol::CloseCodeDatatypeNotSupported); });
        connect(page, &QWebSocket::disconnected, this, [this, page] {
            pages_.removeOne(page);
            page->deleteLater();
        });
        page->sendTextMessage(QString::fromUtf8(stageJson_));
    }
}

void WebRemote::command(QWebSocket* page, const QString& text) {
    const RemoteCommand c = RemoteCommand::parse(text);
    switch (c.kind) {
    case RemoteCommand::Kind::Next:
        emit nextRequested();
        break;
    case RemoteCommand::Kind::Previous:
        emit previousRequested();
        break;
    case RemoteCommand::Kind::Song:
        if (c.matches(stage_))
            emit rowRequested(c.row);
        else
            page->sendTextMessage(QString::fromUtf8(stageJson_));
        break;
    case RemoteCommand::Kind::None:
        break;
    }
}

void WebRemote::pingPages() {
    // A phone that slept or left the Wi-Fi never says goodbye; it stops answering pings.
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    for (QWebSocket* page : std::as_const(pages_)) {
        if (now - page->property(kHeard).toLongLong() > kMissedPings * kPingMs)
            page->abort();
        else
            page->ping();
    }
}

QByteArray WebRemote::stageJson() const {
    QJsonObject o;
    o.insert(QLatin1String("setlist"), stage_.setlist);
    o.insert(QLatin1String("songs"), QJsonArray::fromStringList(stage_.songs));
    QJsonArray seconds;
    for (const std::optional<double>& s : stage_.seconds)
        seconds.append(s ? QJsonValue(*s) : QJsonValue());
    o.insert(QLatin1String("seconds"), seconds);
    o.insert(QLatin1String("current"), stage_.currentRow);
    o.insert(QLatin1String("secondsLeft"),
             stage_.secondsLeft ? QJsonValue(*stage_.secondsLeft) : QJsonValue());
    o.insert(QLatin1String("timeLeft"), stage_.timeLeft);
    o.insert(QLatin1String("next"), stage_.next);
    o.insert(QLatin1String("state"), stage_.state);
    const DawStatus& d = stage_.daw;
    o.insert(QLatin1String("daw"),
             QJsonObject{{QLatin1String("phase"), DawStatus::name(d.phase)},
                         {QLatin1String("song"), d.song},
                         {QLatin1String("reason"), DawStatus::name(d.reason)},
                         {QLatin1String("code"), d.code},
                         {QLatin1String("refused"), d.refused},
                         {QLatin1String("standby"), DawStatus::name(d.standby)},
                         {QLatin1String("next"), d.next}});
    return QJsonDocument(o).toJson(QJsonDocument::Compact);
}

void WebRemote::publish(const StageSnapshot& stage) {
    if (stage == stage_) return;
    stage_ = stage;
    stageJson_ = stageJson();
    const QString message = QString::fromUtf8(stageJson_);
    for (QWebSocket* page : std::as_const(pages_))
        page->sendTextMessage(message);
}
