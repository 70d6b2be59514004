#include "support/LogCapture.h"

namespace {
QStringList g_lines;
QtMessageHandler g_previous = nullptr;

void collect(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    g_lines << message;
    if (g_previous) g_previous(type, context, message);
}
} // namespace

LogCapture::LogCapture() {
    g_lines.clear();
    g_previous = qInstallMessageHandler(collect);
}

LogCapture::~LogCapture() {
    qInstallMessageHandler(g_previous);
    g_previous = nullptr;
}

QStringList LogCapture::lines() const {
    return g_lines;
}

bool LogCapture::contains(const QString& text) const {
    for (const QString& line : g_lines)
        if (line.contains(text)) return true;
    return false;
}
