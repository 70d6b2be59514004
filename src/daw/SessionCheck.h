#pragma once

#include "library/ProjectKind.h"

#include <QString>
#include <QStringList>
#include <optional>

class PluginCatalog;

// One song checked before the show, without changing anything: whether the DAW control will
// load it as it stands, each problem in words a musician can act on, and how long it plays.
struct SessionCheck {
    std::optional<double> seconds; // none when the project says nothing of it
    QStringList problems;

    // What the songs are checked against.
    struct Conditions {
        ProjectKind songs;             // what the DAW control takes for a song
        std::optional<int> serverRate; // the running JACK server's; none without one
        QStringList serverPorts;       // its ports; empty without one
        bool routed = false; // Gigmora's router takes the DAWs' Master buses (the standby)
        const PluginCatalog* plugins = nullptr;
    };

    bool passes() const { return problems.isEmpty(); }
    // `path` as the song keeps it.
    static SessionCheck of(const QString& path, const Conditions& conditions);
    // How long the song at `path` plays, as its project says; none when it says nothing.
    static std::optional<double> lengthOf(const QString& path, bool sessions);
    static QString length(double seconds); // "3:25"
};
