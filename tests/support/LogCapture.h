#pragma once

#include <QStringList>
#include <QtGlobal>

// Collects the log lines written while it lives (they still reach the terminal), from any
// thread: the MIDI backend logs from threads of its own.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    QStringList lines() const;
    bool contains(const QString& text) const;
    // How many lines contain `text`.
    qsizetype count(const QString& text) const;
};
