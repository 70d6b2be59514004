#include "app/CheckCommand.h"
#include "app/ExportCommand.h"
#include "library/LibraryStack.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "settings/GigmoraConfig.h"
#include "support/JackAvailable.h"
#include "support/LibraryHelpers.h"
#include "support/RealArdour.h"
#include "support/ScriptedAlerts.h"
#include "support/TempHome.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTextStream>
#include <gtest/gtest.h>

using namespace helpers;

namespace {
// A copy of the session `from` as `name`, its snapshot changed by `edit`.
QString variant(const QString& from, const QString& name,
                const std::function<void(QByteArray&)>& edit = {}) {
    const QString to = TempHome::home() + "/sessions/" + name;
    QProcess::execute("cp", {"-a", from, to});
    const QString snapshot = to + "/" + QFileInfo(from).fileName() + ".ardour";
    QByteArray xml = readFile(snapshot);
    if (edit) edit(xml);
    QFile::remove(snapshot);
    writeFile(to + "/" + name + ".ardour", xml);
    return to;
}

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
    QString out, err;
    QTextStream o(&out), e(&err);
    const int code = CheckCommand::run(args, o, e);
    o.flush();
    return {code, out + err};
}
} // namespace

// A setlist of Ardour's own sessions, one per problem: each is named with what Ardour will do,
// the clean one passes with its length, the set has its total, and nothing is written.
TEST(Check, NamesEveryProblemOfTheSetAndChangesNothing) {
    REQUIRE_JACK(); // at 48 kHz, as scripts/test starts it
    TempHome::clear();
    GigmoraConfig::Daw daw;
    daw.control = GigmoraConfig::Daw::Control::SessionManager;
    GigmoraConfig::setDaw(daw);
    const QString clean = variant(ardourSession("Made"), "Clean", [](QByteArray& xml) {
        // 3 min 25 s, as Ardour writes a session range.
        xml.replace("<Locations/>", "<Locations><Location id=\"1\" name=\"session\" start=\"a0\" "
                                    "end=\"a57859200000\" flags=\"IsSessionRange\"/></Locations>");
    });
    const QStringList songs{
        clean,
        ardourSession("Odd", 44100),
        variant(clean, "Pending"),
        TempHome::home() + "/sessions/Gone",
        variant(clean, "Newer",
                [](QByteArray& x) { x.replace("version=\"7002\"", "version=\"8000\""); }),
        variant(clean, "Unrecorded",
                [](QByteArray& x) {
                    x.replace("<Sources/>", "<Sources><Source name=\"Take 1.wav\" type=\"audio\" "
                                            "id=\"9\"/></Sources>");
                }),
        variant(clean, "Foreign",
                [](QByteArray& x) {
                    x.replace("</Session>", "<Processor type=\"lv2\" "
                                            "unique-id=\"urn:nowhere:echo\"/></Session>");
                }),
        variant(clean, "Elsewhere",
                [](QByteArray& x) { x.replace("system:playback_", "card:out_"); })};
    writeFile(TempHome::home() + "/sessions/Pending/Pending.pending", "");
    {
        ScriptedAlerts alerts;
        LibraryStack stack(&alerts);
        ObjectContext& c = *stack.managedObjectContext();
        ManagedObject* gig = addSetlist(c, "Gig");
        for (const QString& path : songs)
            gig->mutableOrderedSetValueForKey("song").addObject(
                addSong(c, QFileInfo(path).fileName(), path, 1));
        stack.saveAction();
    }
    const auto before = everything();

    const auto [code, said] = check({"--setlist", "Gig"});
    std::printf("%s", qPrintable(said)); // what a musician reads
    EXPECT_EQ(code, 65) << said.toStdString();
    for (const char* line :
         {"System\n  The JACK server runs at 48000 Hz, 256 frames a period.\n  JACK does not run "
          "in "
          "real time: start it with -R",
          "  Clean: passes, 3:25\n",
          "  Odd: It was recorded at 44100 Hz and the JACK server runs at 48000 Hz: Ardour stops "
          "on its \"Sample Rate Mismatch\" question.",
          "  Pending: It has a crash-recovery file (Pending.pending)",
          "  Gone: The project is missing", "  Newer: It was saved by a newer Ardour (format 8000)",
          "  Unrecorded: It misses recorded audio (Take 1.wav)",
          "  Foreign: It uses a plugin that is not installed (urn:nowhere:echo)",
          "  Elsewhere: Its Master bus was saved connected to card:out_1, card:out_2, which this "
          "JACK server does not have",
          "  In all: 20:30; 2 songs without a known length\n"})
        EXPECT_TRUE(said.contains(line)) << line << "\nin:\n" << said.toStdString();

    const auto [jsonCode, json] = check({"--json"});
    EXPECT_EQ(jsonCode, 65);
    const QJsonObject gig = QJsonDocument::fromJson(json.toUtf8())["setlists"][0].toObject();
    EXPECT_EQ(gig["seconds"].toDouble(), 6 * 205.0) << "the songs with a length, problems or not";
    EXPECT_EQ(gig["songs"][0]["passes"].toBool(), true);
    EXPECT_EQ(gig["songs"][1]["problems"].toArray().size(), 1);
    EXPECT_EQ(everything(), before) << "the check wrote something";

    // The export plans with the same lengths.
    QString exported, err;
    QTextStream e(&exported), t(&err);
    ASSERT_EQ(ExportCommand::run({"--json", "--setlist", "Gig"}, e, t), 0);
    e.flush();
    const QJsonObject plan = QJsonDocument::fromJson(exported.toUtf8())["setlists"][0].toObject();
    EXPECT_EQ(plan["seconds"].toDouble(), 6 * 205.0);
    EXPECT_EQ(plan["songs"][0]["seconds"].toDouble(), 205.0);

    EXPECT_EQ(check({"--setlist", "Sunday"}).first, 2);
    EXPECT_EQ(check({"--bogus"}).first, 64);
}
