#pragma once

#include "platform/Result.h"

#include <QString>

// What Gigmora writes down about the DAW it runs, so that a Gigmora started after a crash
// finds that DAW still playing and takes it over instead of starting a second one: which
// process it is, where it listens and where it reports, and the session it has open.
struct DawRecord {
    qint64 pid = 0;
    qint64 startTime = 0;   // tells the process from a later one given the same pid
    quint16 serverPort = 0; // the session manager's port, in the DAW's NSM_URL
    QString clientAddress;  // where the DAW listens, once it announced itself
    quint16 clientPort = 0;
    QString clientName;
    QString capabilities;
    QString loaded; // the session it has open
    QString program;
    bool heard = true; // with a standby: the instance the audience hears, else the one waiting

    bool announced() const { return clientPort != 0 && !clientAddress.isEmpty(); }

    static Result<DawRecord> read(const QString& file);
    Result<> write(const QString& file) const;
    static void remove(const QString& file);
};
