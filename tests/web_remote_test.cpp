#include "app/StageRemotes.h"
#include "remote/WebRemote.h"
#include "settings/GigmoraConfig.h"
#include "support/LibraryHelpers.h"
#include "support/StageFixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QWebSocket>
#include <gtest/gtest.h>

using namespace helpers;

namespace {
struct Reply {
    int status = 0; // 0: the connection ended without an answer
    QByteArray head, body;
};

// A raw HTTP/1.1 exchange from `from` (any 127.x.y.z is this machine), read to its end.
Reply exchange(quint16 port, const QByteArray& request, const QString& from = "127.0.0.1") {
    QTcpSocket s;
    s.bind(QHostAddress(from));
    s.connectToHost(QHostAddress::LocalHost, port);
    if (!waitUntil([&] { return s.state() == QAbstractSocket::ConnectedState; })) return {};
    s.write(request);
    QByteArray got;
    Reply r;
    waitUntil([&] {
        got += s.readAll();
        const qsizetype end = got.indexOf("\r\n\r\n");
        if (end < 0) return s.state() != QAbstractSocket::ConnectedState;
        r.head = got.left(end);
        const qsizetype at = r.head.toLower().indexOf("content-length:");
        const int length = at < 0 ? 0 : r.head.mid(at + 15).split('\r').first().trimmed().toInt();
        return got.size() >= end + 4 + length;
    });
    if (r.head.startsWith("HTTP/1.1 ")) r.status = r.head.mid(9, 3).toInt();
    r.body = got.mid(r.head.size() + 4);
    return r;
}

QByteArray get(const QByteArray& path, const QByteArray& headers = {}) {
    return "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + headers + "\r\n";
}

QByteArray cookieOf(const Reply& r) {
    const qsizetype at = r.head.indexOf("Set-Cookie: ");
    return at < 0 ? QByteArray() : r.head.mid(at + 12).split(';').first();
}

StageSnapshot friday() {
    return {.setlist = "Friday",
            .songs = {"Opener", "Ballad", "Encore"},
            .seconds = {205, std::nullopt, 62},
            .currentRow = 0,
            .current = "Opener",
            .next = "Next: Ballad"};
}

// A page's WebSocket, with the cookie and origin it is given.
struct Page {
    Page(quint16 port, const QByteArray& cookie, const QString& origin) : socket(origin) {
        QNetworkRequest request(QUrl(QString("ws://127.0.0.1:%1/ws").arg(port)));
        if (!cookie.isEmpty()) request.setRawHeader("Cookie", cookie);
        QObject::connect(&socket, &QWebSocket::textMessageReceived,
                         [this](const QString& m) { messages << m; });
        socket.open(request);
    }
    bool connected() {
        waitUntil([&] { return socket.state() != QAbstractSocket::ConnectingState; });
        return waitUntil([&] { return socket.state() == QAbstractSocket::ConnectedState; }, 500);
    }
    QWebSocket socket;
    QStringList messages;
};
} // namespace

// What the browser test cannot show: the CSP, the cookie among others, a per-address lockout.
TEST(WebRemote, PinSessionsAndLockout) {
    qint64 now = 1'000'000;
    WebRemote remote("2468", [&] { return now; });
    ASSERT_TRUE(remote.listen(QHostAddress::LocalHost, 0));
    remote.publish(friday());
    const quint16 port = remote.port();
    EXPECT_TRUE(
        exchange(port, get("/")).head.contains("Content-Security-Policy: default-src 'none'"));
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(exchange(port, get("/?pin=0000")).status, 401);
    EXPECT_EQ(exchange(port, get("/?pin=2468")).status, 429) << "the right PIN included";
    EXPECT_EQ(exchange(port, get("/?pin=2468"), "127.0.0.3").status, 303);
    now += 61'000;
    Reply r = exchange(port, get("/?pin=2468"));
    ASSERT_EQ(r.status, 303);
    EXPECT_TRUE(r.head.contains("; Path=/; HttpOnly; SameSite=Strict"));
    r = exchange(port, get("/", "Cookie: theme=dark; " + cookieOf(r) + "\r\n"));
    EXPECT_TRUE(r.body.contains("id=\"order\""));
}

TEST(WebRemote, PagesNeedTheSessionAndTheirOrigin) {
    WebRemote remote("2468");
    ASSERT_TRUE(remote.listen(QHostAddress::LocalHost, 0));
    remote.publish(friday());
    const quint16 port = remote.port();
    const QString own = QString("http://127.0.0.1:%1").arg(port);
    const QByteArray cookie = cookieOf(exchange(port, get("/?pin=2468")));
    ASSERT_FALSE(cookie.isEmpty());
    EXPECT_FALSE(Page(port, cookie, "http://evil.example").connected()) << "another site";
    Page page(port, cookie, own);
    ASSERT_TRUE(page.connected());
    ASSERT_TRUE(waitUntil([&] { return !page.messages.isEmpty(); }));
    EXPECT_TRUE(page.messages.last().contains("\"setlist\":\"Friday\""));

    QSignalSpy next(&remote, &WebRemote::nextRequested);
    QSignalSpy row(&remote, &WebRemote::rowRequested);
    for (const char* m : {R"({"do":"next"})", R"({"do":"delete","row":0})", "not json",
                          // A tap on what a stale page showed recalls nothing.
                          R"({"do":"song","row":1,"title":"Encore","setlist":"Friday"})",
                          R"({"do":"song","row":7,"title":"Ballad","setlist":"Friday"})",
                          R"({"do":"song","row":1,"title":"Ballad","setlist":"Friday"})"})
        page.socket.sendTextMessage(m);
    ASSERT_TRUE(waitUntil([&] { return row.size() == 1; }));
    EXPECT_EQ(row[0][0].toInt(), 1);
    EXPECT_EQ(next.size(), 1);

    StageSnapshot moved = friday();
    moved.currentRow = 1;
    moved.state = "Loading Ballad…";
    remote.publish(moved);
    EXPECT_TRUE(waitUntil([&] { return page.messages.last().contains("\"current\":1"); }));
    const QJsonObject stage = QJsonDocument::fromJson(page.messages.last().toUtf8()).object();
    EXPECT_EQ(stage["state"].toString(), "Loading Ballad…");
    EXPECT_EQ(QJsonDocument(stage["seconds"].toArray()).toJson(QJsonDocument::Compact),
              "[205,null,62]");
    // Frames beyond what a command needs end the page's connection.
    EXPECT_EQ(remote.pageCount(), 1);
    page.socket.sendTextMessage(QString(10000, 'x'));
    EXPECT_TRUE(waitUntil([&] { return remote.pageCount() == 0; }));
}

class RemoteStage : public StageFixture {};

TEST_F(RemoteStage, HostileTrafficLeavesThePageAndTheTriggerAlone) {
    GigmoraConfig::setRemote({true, 0, "2468", {}});
    makeSetlist({project("One.logicx"), project("Two.logicx")});
    launch();
    selectSetlistRow(0);
    ASSERT_TRUE(app->remotes()->webRemote());
    const quint16 port = app->remotes()->webRemote()->port();

    const std::pair<QByteArray, int> requests[] = {
        {QByteArray(4000, '\xfe'), 0}, // garbage: no answer
        {get("/", "X-Big: " + QByteArray(200 * 1024, 'a') + "\r\n"), 431},
        {"POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 5\r\n\r\npin=1", 405},
        {"GET / HTTP/1.1\r\nHost: x\r\nContent-Length: 20000\r\n\r\n" + QByteArray(20000, 'p'),
         413},
        {get("/../../etc/passwd"), 404},
        {get("/%2e%2e/%2e%2e/etc/passwd"), 404},
        {get("/ws"), 404},
    };
    for (const auto& [request, status] : requests)
        EXPECT_EQ(exchange(port, request, "127.0.0.4").status, status) << request.left(40).data();

    EXPECT_EQ(exchange(port, get("/")).status, 200) << "the good client is served";
    midi->send({0xC0, 0x7F});
    EXPECT_TRUE(waitForCloseCommands(1)) << "the trigger is answered";
    EXPECT_TRUE(waitUntil([&] { return selectedSetlistRow() == 1; }));
}
