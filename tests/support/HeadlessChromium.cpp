#include "support/HeadlessChromium.h"

#include "support/LibraryHelpers.h"

#include <QFile>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QStandardPaths>

using helpers::waitUntil;

namespace {
constexpr int kStartMs = 60000;
constexpr int kCallMs = 15000;
} // namespace

HeadlessChromium::HeadlessChromium() {
    QObject::connect(&socket_, &QWebSocket::textMessageReceived, [this](const QString& text) {
        const QJsonObject o = QJsonDocument::fromJson(text.toUtf8()).object();
        if (o.contains(QLatin1String("id"))) replies_.insert(o.value("id").toInt(), o);
    });
    start();
}

HeadlessChromium::~HeadlessChromium() {
    socket_.abort();
    process_.kill();
    process_.waitForFinished(5000);
}

bool HeadlessChromium::start() {
    const QString binary = QStandardPaths::findExecutable(QStringLiteral("chromium"));
    if (binary.isEmpty()) {
        error_ = "Chromium is not installed (Debian's package chromium; scripts/setup installs it)";
        return false;
    }
    process_.setProgram(binary);
    process_.setArguments({"--headless=new", "--no-sandbox", "--disable-gpu", "--no-first-run",
                           "--disable-extensions", "--remote-debugging-port=0",
                           "--user-data-dir=" + profile_.path(), "about:blank"});
    process_.start();
    QString endpoint;
    QByteArray said;
    waitUntil(
        [&] {
            said += process_.readAllStandardError();
            const auto m = QRegularExpression(QStringLiteral("DevTools listening on (ws://\\S+)"))
                               .match(QString::fromUtf8(said));
            if (m.hasMatch()) endpoint = m.captured(1);
            return !endpoint.isEmpty() || process_.state() == QProcess::NotRunning;
        },
        kStartMs);
    if (endpoint.isEmpty()) {
        error_ = "Chromium did not start: " + QString::fromUtf8(said.right(2000));
        return false;
    }
    socket_.open(QUrl(endpoint));
    if (!waitUntil([&] { return socket_.state() == QAbstractSocket::ConnectedState; })) {
        error_ = "Chromium's DevTools socket did not open: " + socket_.errorString();
        return false;
    }
    const QJsonValue target =
        call("Target.createTarget", {{"url", "about:blank"}}, false)[u"result"][u"targetId"];
    session_ = call("Target.attachToTarget", {{"targetId", target}, {"flatten", true}},
                    false)[u"result"][u"sessionId"]
                   .toString();
    if (session_.isEmpty()) {
        error_ = "Chromium gave no tab to drive";
        return false;
    }
    return true;
}

QJsonObject HeadlessChromium::call(const QString& method, const QJsonObject& params, bool inPage) {
    if (socket_.state() != QAbstractSocket::ConnectedState) return {};
    const int id = nextId_++;
    QJsonObject message{{"id", id}, {"method", method}, {"params", params}};
    if (inPage) message.insert("sessionId", session_);
    socket_.sendTextMessage(QString::fromUtf8(QJsonDocument(message).toJson()));
    if (!waitUntil([&] { return replies_.contains(id); }, kCallMs)) {
        error_ = method + " got no answer from Chromium";
        return {};
    }
    const QJsonObject reply = replies_.take(id);
    if (reply.contains("error"))
        error_ = method + ": " + QJsonDocument(reply.value("error").toObject()).toJson();
    return reply;
}

bool HeadlessChromium::emulatePhone() {
    return !call("Emulation.setDeviceMetricsOverride",
                 {{"width", 390}, {"height", 844}, {"deviceScaleFactor", 2}, {"mobile", true}})
                .contains("error");
}

bool HeadlessChromium::open(const QString& url) {
    if (session_.isEmpty()) return false;
    call("Page.navigate", {{"url", url}});
    // The old document may still answer "complete" for a moment: wait for the new address.
    return waitFor(QStringLiteral("document.readyState === 'complete' && location.href !== "
                                  "'about:blank'"));
}

QJsonValue HeadlessChromium::evaluate(const QString& script) {
    const QJsonValue result =
        call("Runtime.evaluate",
             {{"expression", script}, {"returnByValue", true}, {"awaitPromise", true}})[u"result"];
    if (result[u"exceptionDetails"].isObject()) return QJsonValue::Null;
    return result[u"result"][u"value"];
}

bool HeadlessChromium::waitFor(const QString& script, int timeoutMs) {
    return waitUntil([&] { return evaluate(QStringLiteral("!!(%1)").arg(script)).toBool(); },
                     timeoutMs);
}

bool HeadlessChromium::screenshot(const QString& pngPath) {
    const QByteArray data = QByteArray::fromBase64(
        call("Page.captureScreenshot", {{"format", "png"}})[u"result"][u"data"]
            .toString()
            .toLatin1());
    QFile f(pngPath);
    return !data.isEmpty() && f.open(QIODevice::WriteOnly) && f.write(data) == data.size();
}
