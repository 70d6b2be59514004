#pragma once

#include "platform/Result.h"

#include <QString>
#include <QStringList>
#include <optional>

// What an Ardour session says of itself, read from its snapshot file as Ardour 7 writes it,
// without changing anything: its rate and format, its length, the files it plays and the
// plugins it uses, and where its Master bus was connected.
struct ArdourSession {
    // Ardour 7 writes times as "a<superclocks>" at this many a second (or "b<ticks>" in beats).
    static constexpr qint64 kSuperclocks = 282240000;
    // The newest snapshot format this reading knows (Ardour 7).
    static constexpr int kNewestVersion = 7999;

    QString snapshot; // the .ardour file read
    int sampleRate = 0;
    int version = 0;
    std::optional<double> seconds; // the session range's length; none without one
    QStringList missingFiles;      // recordings and MIDI files not where Ardour looks
    QStringList lv2;               // the URIs of the LV2 plugins it uses
    bool pending = false;          // Ardour left a crash-recovery file
    // The JACK ports the Master bus's outputs were saved on; none without a Master bus.
    std::optional<QStringList> masterConnections;

    // The session in `folder` (its snapshot named after it, else the one there is).
    static Result<ArdourSession> read(const QString& folder);
};
