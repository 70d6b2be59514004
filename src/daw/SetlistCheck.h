#pragma once

#include "daw/PluginCatalog.h"
#include "daw/SessionCheck.h"
#include "daw/SystemCheck.h"
#include "library/ProjectKind.h"
#include "settings/GigmoraConfig.h"

#include <QList>
#include <QString>
#include <vector>

// Setlists checked as the DAW control will load their songs, against the machine as it is
// when this is made: the JACK server and the installed plugins are read once, however many
// setlists are checked. It reads files and asks the JACK server, and touches no window, so it
// may be made and used on a thread of its own (one thread: the plugin catalogue is not shared).
class SetlistCheck {
public:
    struct Song {
        QString title;
        QString path; // as the song keeps it
    };
    struct Row {
        QString title;
        QString path;
        SessionCheck check;
        // "passes, 3:25", or the problems one after the other.
        QString verdict() const;
    };
    struct Result {
        std::vector<Row> rows;
        double seconds = 0;    // of the songs with a known length, problems or not
        int withoutLength = 0; // songs whose project says nothing of their length
        bool passes() const;
        // "In all: 20:30; 2 songs without a known length"
        QString total() const;
    };

    // Songs as the DAW control of `daw` takes them; with its standby, the router takes the
    // Master buses, so their saved connections do not matter.
    explicit SetlistCheck(const GigmoraConfig::Daw& daw);
    // What counts as a song under the DAW control of `daw`.
    static ProjectKind songsOf(const GigmoraConfig::Daw& daw);
    SetlistCheck(const SetlistCheck&) = delete;
    SetlistCheck& operator=(const SetlistCheck&) = delete;

    const SystemCheck& system() const { return system_; }
    Result check(const QList<Song>& songs) const;

private:
    SystemCheck system_;
    PluginCatalog plugins_;
    SessionCheck::Conditions conditions_;
};
