#pragma once

#include <QHash>
#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <QWebSocket>

// Debian's Chromium, headless, driven over DevTools in one tab; error() says why it cannot run.
class HeadlessChromium {
public:
    HeadlessChromium();
    ~HeadlessChromium();
    HeadlessChromium(const HeadlessChromium&) = delete;
    HeadlessChromium& operator=(const HeadlessChromium&) = delete;

    const QString& error() const { return error_; }
    // A phone's screen: 390 × 844 CSS pixels at twice the density.
    bool emulatePhone();
    bool open(const QString& url);
    // The script's value (promises awaited); null when it threw.
    QJsonValue evaluate(const QString& script);
    bool waitFor(const QString& script, int timeoutMs = 5000);
    bool screenshot(const QString& pngPath);

private:
    QJsonObject call(const QString& method, const QJsonObject& params = {}, bool inPage = true);
    bool start();

    QTemporaryDir profile_;
    QProcess process_;
    QWebSocket socket_;
    QString session_;
    QString error_;
    int nextId_ = 1;
    QHash<int, QJsonObject> replies_;
};
