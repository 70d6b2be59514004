#pragma once

#include "support/XvfbDisplay.h"

#include <QString>
#include <QStringList>
#include <functional>

#include <jack/types.h>

// What the tests with Debian's real Ardour share.

// Whether a window is titled after the session ("*" marks one with unsaved changes).
bool titled(const QString& name);

// A session folder with a stereo Master bus under the temporary home, made by Ardour's own tools;
// with `heavyTracks` stereo tracks of four plugins each that record for `recordMs` (giving the
// session its range), and with `cues` a "Cues" bus connected nowhere, as a rig's click bus is.
QString ardourSession(const QString& name, int sampleRate = 48000, int heavyTracks = 0,
                      int recordMs = 0, bool cues = false);

// A copy of the session `from` as `name`, its snapshot changed by `edit`; its folder.
QString copySession(const QString& from, const QString& name,
                    const std::function<void(QByteArray&)>& edit = {});

// Ardour's configuration as a musician's Ardour has one under the temporary home: without one
// each start is a first run to Ardour, which asks nothing. Use with ASSERT_NO_FATAL_FAILURE.
void writeArdourConfig();

// Ardour processes running on this machine (the `ardour` script starts one of these).
int ardourProcesses();

// JACK clients other than the server's own, Gigmora's and the asking client's: the DAWs' names.
QStringList dawJackClients(jack_client_t* client);

// Ardour, Xvfb and the test JACK server, or a failure that says which is missing; then a
// display of its own for Ardour's window.
class ArdourDisplay {
public:
    void start(); // use with ASSERT_NO_FATAL_FAILURE

private:
    XvfbDisplay xvfb_;
};
