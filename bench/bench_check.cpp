// `gigmora check` over a setlist of 100 real Ardour sessions, offline: each made by Ardour's
// own Lua tool with 8 stereo tracks and 4 of Ardour's plugins on each (so the snapshot files
// are of a working song's size) and copied under a name of its own. Timed: the whole command
// (library, system, plugin catalogue and every session), cold and then warm, and its per-song
// share. Needs a running JACK server for the rate comparison (scripts/bench starts one).
#include "app/CheckCommand.h"
#include "settings/GigmoraConfig.h"
#include "support/LibraryHelpers.h"
#include "support/RealArdour.h"
#include "support/TempHome.h"

#include <QElapsedTimer>
#include <QFileInfo>
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
    QStringList songs;
    for (int i = 0; i < kSongs; ++i)
        songs << copySession(made, QStringLiteral("Song%1").arg(i));
    saveSetlist("Hundred", songs);
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
