#include "remote/RemotePages.h"

#include <QFile>
#include <QHash>

namespace {
QByteArray resource(const QString& name) {
    QFile f(QStringLiteral(":/remote/") + name);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}
} // namespace

const QByteArray RemotePages::kPolicy =
    QByteArrayLiteral("default-src 'none'; script-src 'self'; style-src 'self'; "
                      "font-src 'self'; connect-src 'self'; img-src 'self'; base-uri 'none'; "
                      "form-action 'self'; frame-ancestors 'none'");

RemotePages::File RemotePages::asset(const QString& path) {
    static const QHash<QString, std::pair<QString, QByteArray>> files{
        {QStringLiteral("/remote.js"),
         {QStringLiteral(":/remote/remote.js"), "text/javascript; charset=utf-8"}},
        {QStringLiteral("/remote.css"),
         {QStringLiteral(":/remote/remote.css"), "text/css; charset=utf-8"}},
        {QStringLiteral("/dosis.otf"), {QStringLiteral(":/fonts/Dosis-Medium.otf"), "font/otf"}},
        {QStringLiteral("/dosis-bold.otf"),
         {QStringLiteral(":/fonts/Dosis-Bold.otf"), "font/otf"}}};
    const auto it = files.constFind(path);
    if (it == files.constEnd()) return {};
    QFile f(it->first);
    if (!f.open(QIODevice::ReadOnly)) return {};
    return {f.readAll(), it->second};
}

QByteArray RemotePages::stagePage() {
    return resource(QStringLiteral("head.html")) + resource(QStringLiteral("stage.html"));
}

QByteArray RemotePages::pinPage(const QString& message) {
    QByteArray page = resource(QStringLiteral("head.html")) + resource(QStringLiteral("pin.html"));
    page.replace("{{message}}", message.toHtmlEscaped().toUtf8());
    return page;
}
