// `gigmora check` over a setlist of 100 real Ardour sessions, offline: each made by Ardour's
// own Lua tool with 8 stereo tracks and 4 of Ardour's plugins on each (so the snapshot files
// are of a working song's size) and copied under a name of its own. Timed: the whole command
// (library, system, plugin catalogue and every session), cold and then warm, and its per-song
// share. Needs a running JACK server for the rate comparison (scripts/bench starts one).
#include "app/CheckCommand.h"
#include "library/LibraryStack.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "settings/GigmoraConfig.h"
#include "support/LibraryHelpers.h"
#include "support/RealArdour.h"
#include "support/ScriptedAlerts.h"
#include "support/TempHome.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTextStream>
#include <cstdio>
#include <gtest/gtest.h>

using namespace helpers;

TEST(Bench, CheckOfAHundredSongSetlist) {
    constexpr int kSongs = 100;
    TempHome::clear();
    GigmoraConfig::Daw daw;
    daw.control = GigmoraConfig::Daw::Control::SessionManager;
    GigmoraConfig::setDaw(daw);
    const QString made = ardourSession("Made", 48000, 8);
    {
        ScriptedAlerts alerts;
        LibraryStack stack(&alerts);
        ObjectContext& c = *stack.managedObjectContext();
        ManagedObject* set = addSetlist(c, "Hundred");
        for (int i = 0; i < kSongs; ++i) {
            const QString name = QStringLiteral("Song%1").arg(i);
            const QString to = TempHome::home() + "/sessions/" + name;
            QProcess::execute("cp", {"-a", made, to});
            QFile::rename(to + "/Made.ardour", to + "/" + name + ".ardour");
            set->mutableOrderedSetValueForKey("song").addObject(addSong(c, name, to, i + 1));
        }
        stack.saveAction();
    }
    std::printf("snapshot file: %lld bytes\n", QFileInfo(made + "/Made.ardour").size());
    for (const char* run : {"first", "second"}) {
        QString out;
        QTextStream o(&out), e(&out);
        QElapsedTimer clock;
        clock.start();
        const int code = CheckCommand::run({"--setlist", "Hundred"}, o, e);
        const double ms = double(clock.nsecsElapsed()) / 1e6;
        EXPECT_EQ(code, 0) << out.toStdString();
        std::printf("gigmora check, %d songs, %s: %.0f ms in all, %.2f ms a song\n", kSongs, run,
                    ms, ms / kSongs);
    }
}
