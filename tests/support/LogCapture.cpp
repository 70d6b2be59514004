#include "support/LogCapture.h"

#include <QMutex>

namespace {
QMutex g_mutex;
QStringList g_lines;
QtMessageHandler g_previous = nullptr;

void collect(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    {
        QMutexLocker lock(&g_mutex);
        g_lines << message;
    }
    if (g_previous) g_previous(type, context, message);
}
} // namespace

LogCapture::LogCapture() {
    {
        QMutexLocker lock(&g_mutex);
        g_lines.clear();
    }
    g_previous = qInstallMessageHandler(collect);
}

LogCapture::~LogCapture() {
    qInstallMessageHandler(g_previous);
    g_previous = nullptr;
}

QStringList LogCapture::lines() const {
    QMutexLocker lock(&g_mutex);
    return g_lines;
}

bool LogCapture::contains(const QString& text) const {
    return count(text) > 0;
}

qsizetype LogCapture::count(const QString& text) const {
    QMutexLocker lock(&g_mutex);
    return g_lines.filter(text).size();
}
