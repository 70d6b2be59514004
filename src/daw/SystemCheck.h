#pragma once

#include <QStringList>
#include <optional>

// The machine as the show will find it, before the songs: the JACK server (running, in real
// time, its rate and period), the locked-memory and real-time priority limits, and the CPU
// frequency governor. Each is a line; one that will hurt the show says how to fix it.
struct SystemCheck {
    std::optional<int> sampleRate; // none without a running JACK server
    QStringList ports;             // the running server's ports
    QStringList lines;
    int problems = 0;

    static SystemCheck now();
};
