#pragma once

#include <QStringList>
#include <QtGlobal>

// Collects the log lines written while it lives, from any thread (the MIDI backend has its own).
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    QStringList lines() const;
    bool contains(const QString& text) const;
    qsizetype count(const QString& text) const;
};
