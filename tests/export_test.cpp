#include "app/ExportCommand.h"
#include "library/LibraryStack.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "support/LibraryHelpers.h"
#include "support/PdfReading.h"
#include "support/ScriptedAlerts.h"
#include "support/TempHome.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <functional>
#include <gtest/gtest.h>

using namespace helpers;

namespace {
Printed runExport(const QStringList& args) {
    return runCommand(ExportCommand::run, args);
}

const QString kLongTitle = "An extraordinarily long medley that goes through every verse and "
                           "chorus the band has ever played, far wider than any page in large "
                           "type LASTWORD";
// A word no line can hold, as a file name pasted in as a title might be.
const QString kLongWord = QString("Wanderlust").repeated(12);

QString festivalTitle(int i) {
    static const QHash<int, QString> special{{3, "Ça plane pour moi"},
                                             {12, "Déjà vu — Smørrebrød Øresund"},
                                             {20, kLongTitle},
                                             {25, kLongWord}};
    return special.value(i, QString("Track %1").arg(i, 2, 10, QChar('0')));
}

// A library on a fresh home, made by `fill` and saved.
void makeLibrary(const std::function<void(ObjectContext&)>& fill) {
    TempHome::clear();
    ScriptedAlerts alerts;
    LibraryStack stack(&alerts);
    fill(*stack.managedObjectContext());
    stack.saveAction();
}

// "Sommerfest in Köln" with 40 songs, song 7 without a number; "Zugabe" with two; "Leer" empty.
void makeFestival() {
    makeLibrary([](ObjectContext& c) {
        auto* fest = addSetlist(c, "Sommerfest in Köln");
        fest->setValue("dateCreated", QDateTime(QDate(2026, 7, 18), QTime(20, 0)));
        for (int i = 1; i <= 40; ++i)
            fest->mutableOrderedSetValueForKey("song").addObject(
                addSong(c, festivalTitle(i), QString("/songs/%1").arg(i), i == 7 ? -1 : i));
        auto* encore = addSetlist(c, "Zugabe");
        encore->mutableOrderedSetValueForKey("song").addObject(addSong(c, "Encore one", "/e1", 41));
        encore->mutableOrderedSetValueForKey("song").addObject(addSong(c, "Encore two", "/e2", 42));
        addSetlist(c, "Leer");
    });
}

QString pdfPath(const QString& name = "order.pdf") {
    const QString folder = TempHome::home() + "/out";
    QDir().mkpath(folder);
    return folder + "/" + name;
}

} // namespace

TEST(Export, PrintsSongsAndRunningOrdersWithoutWriting) {
    makeLibrary([](ObjectContext& c) {
        addSong(c, "Zebra", "/z.logicx", 2);
        addSong(c, "Intro", "/i.logicx", 1);
        addSetlist(c, "Friday")
            ->mutableOrderedSetValueForKey("song")
            .addObject(addSong(c, "Intro", "/i.logicx", 1));
        addSetlist(c, "Saturday");
    });
    const QByteArray before = readFile(storePath());

    const Printed text = runExport({});
    EXPECT_EQ(text.code, 0) << text.err.toStdString();
    EXPECT_TRUE(text.out.contains("Songs (2)"));
    EXPECT_LT(text.out.indexOf("Intro"), text.out.indexOf("Zebra"));
    EXPECT_TRUE(text.out.contains("Setlist: Friday"));

    const Printed json = runExport({"--json", "--setlist", "Friday"});
    ASSERT_EQ(json.code, 0);
    const QJsonObject root = QJsonDocument::fromJson(json.out.toUtf8()).object();
    EXPECT_FALSE(root.contains("songs"));
    const QJsonArray lists = root["setlists"].toArray();
    ASSERT_EQ(lists.size(), 1);
    EXPECT_EQ(lists[0]["name"].toString(), "Friday");
    const QJsonObject intro = lists[0]["songs"].toArray()[0].toObject();
    EXPECT_TRUE(intro["title"].toString() == "Intro" && intro["number"].toInt() == 1);

    EXPECT_EQ(readFile(storePath()), before);
}

TEST(PdfExport, FortySongsInOrderOverPagesThatEachNameTheSetlist) {
    makeFestival();
    const Printed r = runExport({"--pdf", pdfPath(), "--setlist", "Sommerfest in Köln"});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();

    const QStringList pages = pdf::pageTexts(pdfPath());
    ASSERT_GE(pages.size(), 2) << "40 songs with long titles do not fit one page";
    for (qsizetype p = 0; p < pages.size(); ++p) {
        EXPECT_TRUE(pages[p].contains("Sommerfest in Köln")) << "page " << p + 1;
        EXPECT_TRUE(pages[p].contains(QString("page %1 of %2").arg(p + 1).arg(pages.size())));
    }
    EXPECT_TRUE(pages[0].contains("2026")) << "the setlist's date";
    const QString all = pages.join('\n');
    qsizetype at = -1;
    for (int i = 1; i <= 40; ++i) {
        const qsizetype next = all.indexOf(festivalTitle(i).left(18));
        EXPECT_GT(next, at) << "song " << i << " in its place";
        at = next;
    }

    // Each number beside its title; the long title on a second line that ends visibly short.
    const QStringList lines = all.split('\n');
    for (const char* line : {"1 Track 01", "3 Ça plane pour moi", "- Track 07", "40 Track 40"})
        EXPECT_TRUE(lines.contains(line)) << line;
    const qsizetype medley = lines.indexOf(QRegularExpression("^20 An extraordinarily .*"));
    ASSERT_GE(medley, 0);
    EXPECT_TRUE(lines.value(medley + 1).endsWith(QChar(0x2026)))
        << lines.value(medley + 1).toStdString();
    EXPECT_FALSE(all.contains("LASTWORD"));
    EXPECT_TRUE(all.contains(kLongWord.left(20)));

    const qreal margin = 12 / 25.4 * 72;
    for (const pdf::Run& run : pdf::runs(pdfPath())) {
        EXPECT_GE(run.left, margin - 1) << run.text.toStdString();
        EXPECT_LE(run.right, run.pageWidth - margin + 1) << run.text.toStdString();
        if (!run.text.contains("Track")) continue;
        EXPECT_GE(run.points, 14) << run.text.toStdString();
        EXPECT_LT(run.points, 28) << "a long list shrinks before it takes more pages";
    }

    // Every setlist from a new page.
    ASSERT_EQ(runExport({"--pdf=" + pdfPath()}).code, 0);
    const QStringList each = pdf::pageTexts(pdfPath());
    ASSERT_EQ(each.size(), 4);
    EXPECT_TRUE(each[0].contains("Leer") && each[0].contains("No songs"));
    EXPECT_TRUE(each[3].contains("Encore two"));
    EXPECT_FALSE(each[3].contains("Sommerfest")) << "no setlist shares a page";
}

TEST(PdfExport, FailuresLeaveNoFileBehind) {
    makeFestival();
    const QString out = QFileInfo(pdfPath()).path();
    const auto nothingIn = [&] {
        return QDir(out).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    };

    EXPECT_EQ(runExport({"--pdf", "--setlist", "Leer"}).code, 64);
    EXPECT_EQ(runExport({"--json", "--pdf", pdfPath()}).code, 64);
    EXPECT_EQ(runExport({"--pdf", pdfPath(), "--setlist", "Nowhere"}).code, 2);
    EXPECT_TRUE(nothingIn());

    // A folder where the file should be.
    QDir().mkpath(pdfPath());
    const Printed folder = runExport({"--pdf", pdfPath()});
    EXPECT_EQ(folder.code, 73);
    EXPECT_TRUE(folder.err.contains(pdfPath())) << folder.err.toStdString();
    QDir().rmdir(pdfPath());
    EXPECT_TRUE(nothingIn()) << "no temporary file left";

    // An unreadable store is said and left as it is; none yet is an empty library, made by
    // nobody, with nothing to print.
    writeFile(storePath(), "<database><object");
    const Printed unreadable = runExport({"--pdf", pdfPath()});
    EXPECT_EQ(unreadable.code, 1);
    EXPECT_TRUE(unreadable.err.contains("Failed to initialize the application's saved data"));
    EXPECT_EQ(readFile(storePath()), "<database><object");
    TempHome::clear();
    EXPECT_EQ(runExport({}).code, 0);
    EXPECT_EQ(runExport({"--pdf", pdfPath()}).code, 2);
    EXPECT_FALSE(QFileInfo::exists(pdfPath()));
    EXPECT_FALSE(QFileInfo::exists(storeFolder()));
}
