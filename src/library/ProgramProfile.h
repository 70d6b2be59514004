#pragma once

#include "library/ProjectKind.h"

#include <QString>
#include <QStringList>

// What Gigmora knows of a program it runs as a session-manager client, from the command that
// starts it: what the stage calls it, what it takes for a song, and whether it says when a load
// fails. Unknown programs are taken as Ardour is.
struct ProgramProfile {
    QString name; // "Ardour" for "/usr/bin/ardour7"
    ProjectKind songs{ProjectKind::Kind::SessionFolder};
    // ZynAddSubFX keeps the last patch when one cannot be read, and says nothing.
    bool reportsFailures = true;

    static ProgramProfile of(const QStringList& command);
};
