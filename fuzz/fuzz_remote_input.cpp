#include "performance/StageSnapshot.h"
#include "remote/ConnectionGuard.h"
#include "remote/PinGate.h"
#include "remote/RemoteCommand.h"
#include "remote/RemoteRoute.h"
#include "remote/RequestMeter.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// What a browser on the network sends the web remote: the bytes of a request as they arrive,
// its line and headers (cookie, origin, host, the PIN in the query), then lines that stand for
// the page's WebSocket messages and, with the first bytes of each as the sender's address, for
// PIN attempts. "@SESSION@" in the input becomes a session the PIN opened, so that the paths
// behind the PIN are reached too.
namespace {
constexpr char kPin[] = "2468";

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

// The network cuts a request anywhere; the input's own bytes choose where.
void meter(const QByteArray& bytes) {
    RequestMeter m(ConnectionGuard::kMaxRequestBytes);
    qsizetype at = 0;
    while (at < bytes.size()) {
        const qsizetype piece = 1 + static_cast<unsigned char>(bytes[at]) % 13;
        if (m.add(bytes.mid(at, piece)) != RequestMeter::Verdict::Fine) return;
        at += piece;
    }
    if (m.headersEnded() != bytes.contains("\r\n\r\n"))
        fail("the end of the headers was judged differently in pieces");
}

QHostAddress sender(const QByteArray& line) {
    Q_IPV6ADDR v6{};
    std::memcpy(v6.c, line.constData(), std::min<size_t>(sizeof v6.c, size_t(line.size())));
    if (line.startsWith('6')) return QHostAddress(v6);
    quint32 v4 = 0;
    std::memcpy(&v4, v6.c, sizeof v4);
    return QHostAddress(v4);
}

struct Request {
    bool isGet = false;
    QUrl url;
    RemoteRoute::Headers headers;
    QByteArray rest;
};

Request split(const QByteArray& bytes) {
    Request r;
    qsizetype end = bytes.indexOf("\r\n\r\n");
    const QByteArray head = end < 0 ? bytes : bytes.left(end);
    r.rest = end < 0 ? QByteArray() : bytes.mid(end + 4);
    const QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> words = lines.value(0).trimmed().split(' ');
    r.isGet = words.value(0) == "GET";
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const qsizetype colon = lines[i].indexOf(':');
        if (colon > 0)
            r.headers.append({lines[i].left(colon).trimmed(), lines[i].mid(colon + 1).trimmed()});
    }
    // As the server's parser splits a request target.
    const QByteArray target = words.value(1);
    const qsizetype query = target.indexOf('?');
    r.url.setScheme(QStringLiteral("http"));
    r.url.setHost(QString::fromLatin1(RemoteRoute::header(r.headers, "host")));
    r.url.setPath(QString::fromUtf8(query < 0 ? target : target.left(query)), QUrl::TolerantMode);
    if (query >= 0) r.url.setQuery(QString::fromUtf8(target.mid(query + 1)), QUrl::TolerantMode);
    return r;
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    static int argc = 1;
    static char name[] = "fuzz_remote_input";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    meter(bytes);

    qint64 now = 0;
    PinGate gate(QString::fromLatin1(kPin), [&now] { return now; });
    bytes.replace("@SESSION@", gate.openSession().toLatin1());
    const Request request = split(bytes);
    bool granted = false;
    const RemoteRoute route =
        RemoteRoute::of(request.isGet, request.url, request.headers, !request.rest.isEmpty(),
                        [&](const QString& token) { return granted = gate.hasSession(token); });
    if ((route.kind == RemoteRoute::Kind::StagePage || route.kind == RemoteRoute::Kind::Upgrade) &&
        !granted)
        fail("the stage was reached without a session");
    if (route.kind == RemoteRoute::Kind::Upgrade &&
        RemoteRoute::header(request.headers, "origin") !=
            "http://" + RemoteRoute::header(request.headers, "host"))
        fail("a WebSocket was taken from another origin");
    if (route.kind == RemoteRoute::Kind::Login &&
        gate.check(sender(bytes), route.pin) == PinGate::Verdict::Accepted && route.pin != kPin)
        fail("a wrong PIN was accepted");

    StageSnapshot stage;
    stage.setlist = QStringLiteral("Friday");
    stage.songs = QStringList{QStringLiteral("Opener"), QStringLiteral("Ballad")};
    for (const QByteArray& line : request.rest.split('\n')) {
        const RemoteCommand c = RemoteCommand::parse(QString::fromUtf8(line));
        c.matches(stage);
        now += line.size() * 1000;
        const QString attempt = QString::fromUtf8(line.mid(16));
        if (gate.check(sender(line), attempt) == PinGate::Verdict::Accepted && attempt != kPin)
            fail("a wrong PIN was accepted");
    }
    return 0;
}
