#include "app/CheckCommand.h"
#include "app/ExportCommand.h"
#include "daw/SessionCheck.h"
#include "support/JackAvailable.h"
#include "support/LibraryHelpers.h"
#include "support/RealArdour.h"
#include "support/TempHome.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace helpers;

namespace {
// Every file under the temporary home, by its checksum: what the check must leave alone.
QMap<QString, QByteArray> everything() {
    QMap<QString, QByteArray> sums;
    QDirIterator files(TempHome::home(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString f = files.next();
        sums[f] = QCryptographicHash::hash(readFile(f), QCryptographicHash::Sha1);
    }
    return sums;
}

std::pair<int, QString> check(const QStringList& args) {
    const Printed p = runCommand(CheckCommand::run, args);
    return {p.code, p.out + p.err};
}
} // namespace

// A setlist of Ardour's own sessions, one per problem: each is named with what Ardour will do,
// the clean one passes with its length, the set has its total, and nothing is written.
TEST(Check, NamesEveryProblemOfTheSetAndChangesNothing) {
    REQUIRE_JACK(); // at 48 kHz, as scripts/test starts it
    TempHome::clear();
    GigmoraConfig::Daw daw = useSessionManager();
    // Recorded by Ardour for about 3 s, through four of its plugins: a song as a musician has.
    const QString clean = ardourSession("Clean", 48000, 1, 3000);
    const QString recorded =
        QDir(clean + "/interchange/Clean/audiofiles").entryList(QDir::Files)[0];
    const QStringList songs{
        clean,
        ardourSession("Odd", 44100),
        copySession(clean, "Pending"),
        TempHome::home() + "/sessions/Gone",
        copySession(clean, "Newer",
                    [](QByteArray& x) { x.replace("version=\"7002\"", "version=\"8000\""); }),
        copySession(clean, "Unrecorded"),
        copySession(clean, "Foreign",
                    [](QByteArray& x) { x.replace("urn:ardour:a-delay", "urn:nowhere:echo"); }),
        copySession(clean, "Elsewhere",
                    [](QByteArray& x) { x.replace("system:playback_", "card:out_"); })};
    QFile::remove(TempHome::home() + "/sessions/Unrecorded/interchange/Clean/audiofiles/" +
                  recorded);
    writeFile(TempHome::home() + "/sessions/Pending/Pending.pending", "");
    saveSetlist("Gig", songs);
    const auto before = everything();

    const auto [jsonCode, json] = check({"--json"});
    EXPECT_EQ(jsonCode, 65);
    const QJsonObject gig = QJsonDocument::fromJson(json.toUtf8())["setlists"][0].toObject();
    const double length = gig["songs"][0]["seconds"].toDouble();
    EXPECT_NEAR(length, 3.0, 0.6) << "the session range of the recording";
    EXPECT_DOUBLE_EQ(gig["seconds"].toDouble(), 6 * length)
        << "the songs with a length, problems or not";

    const auto [code, said] = check({"--setlist", "Gig"});
    std::printf("%s", qPrintable(said)); // what a musician reads
    EXPECT_EQ(code, 65) << said.toStdString();
    for (const QString& line :
         {QString("System\n  The JACK server runs at 48000 Hz, 256 frames a period.\n  JACK does "
                  "not run in real time: start it with -R"),
          "  Clean: passes, " + SessionCheck::length(length) + "\n",
          QString("  Odd: It was recorded at 44100 Hz and the JACK server runs at 48000 Hz: Ardour "
                  "stops on its \"Sample Rate Mismatch\" question."),
          QString("  Pending: It has a crash-recovery file (Pending.pending)"),
          QString("  Gone: The project is missing"),
          QString("  Newer: It was saved by a newer Ardour (format 8000)"),
          "  Unrecorded: It misses recorded audio (" + recorded + ")",
          QString("  Foreign: It uses a plugin that is not installed (urn:nowhere:echo)"),
          QString("  Elsewhere: Its Master bus was saved connected to card:out_1, card:out_2, "
                  "which this JACK server does not have"),
          "  In all: " + SessionCheck::length(6 * length) + "; 2 songs without a known length\n"})
        EXPECT_TRUE(said.contains(line)) << line.toStdString() << "\nin:\n" << said.toStdString();
    EXPECT_EQ(everything(), before) << "the check wrote something";

    // The export plans with the same lengths.
    const Printed exported = runCommand(ExportCommand::run, {"--json", "--setlist", "Gig"});
    ASSERT_EQ(exported.code, 0);
    const QJsonObject plan =
        QJsonDocument::fromJson(exported.out.toUtf8())["setlists"][0].toObject();
    EXPECT_DOUBLE_EQ(plan["seconds"].toDouble(), 6 * length);
    EXPECT_EQ(plan["songs"][0]["seconds"].toDouble(), length);

    // A DAW that cannot start ends the live pass at once, every song named.
    daw.command = "/nonexistent/daw";
    GigmoraConfig::setDaw(daw);
    const auto [loadCode, loaded] = check({"--load", "--setlist", "Gig"});
    EXPECT_EQ(loadCode, 65);
    EXPECT_EQ(loaded.count(": did not load: "), 8) << loaded.toStdString();
    EXPECT_EQ(check({"--setlist", "Sunday"}).first, 2);
    EXPECT_EQ(check({"--bogus"}).first, 64);
}
