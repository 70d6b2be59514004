#include "app/ExportCommand.h"
#include "library/LibraryStack.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "support/LibraryHelpers.h"
#include "support/ScriptedAlerts.h"
#include "support/TempHome.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>
#include <gtest/gtest.h>

using namespace helpers;

namespace {
struct Output {
    int code;
    QString out, err;
};
Output runExport(const QStringList& args) {
    QString out, err;
    QTextStream o(&out), e(&err);
    const int code = ExportCommand::run(args, o, e);
    o.flush();
    e.flush();
    return {code, out, err};
}
} // namespace

TEST(Export, PrintsSongsAndRunningOrdersWithoutWriting) {
    TempHome::clear();
    {
        ScriptedAlerts alerts;
        LibraryStack stack(&alerts);
        ObjectContext& c = *stack.managedObjectContext();
        addSong(c, "Zebra", "/z.logicx", 2);
        auto* intro = addSong(c, "Intro", "/i.logicx", 1);
        auto* copy = addSong(c, "Intro", "/i.logicx", 1);
        auto* friday = addSetlist(c, "Friday");
        friday->mutableOrderedSetValueForKey("song").addObject(copy);
        addSetlist(c, "Saturday");
        Q_UNUSED(intro);
        stack.saveAction();
    }
    const QByteArray before = readFile(storePath());

    Output text = runExport({});
    EXPECT_EQ(text.code, 0) << text.err.toStdString();
    EXPECT_TRUE(text.out.contains("Songs (2)"));
    EXPECT_LT(text.out.indexOf("Intro"), text.out.indexOf("Zebra"));
    EXPECT_TRUE(text.out.contains("Setlist: Friday"));

    Output json = runExport({"--json", "--setlist", "Friday"});
    ASSERT_EQ(json.code, 0);
    const QJsonObject root = QJsonDocument::fromJson(json.out.toUtf8()).object();
    EXPECT_FALSE(root.contains("songs"));
    const QJsonArray lists = root["setlists"].toArray();
    ASSERT_EQ(lists.size(), 1);
    EXPECT_EQ(lists[0]["name"].toString(), "Friday");
    EXPECT_EQ(lists[0]["songs"].toArray()[0].toObject()["title"].toString(), "Intro");
    EXPECT_EQ(lists[0]["songs"].toArray()[0].toObject()["number"].toInt(), 1);

    EXPECT_EQ(runExport({"--setlist", "Sunday"}).code, 2);
    EXPECT_EQ(runExport({"--bogus"}).code, 64);
    EXPECT_EQ(readFile(storePath()), before);
}

TEST(Export, ReportsAnUnreadableStore) {
    TempHome::clear();
    writeFile(storePath(), "<database><object");
    Output r = runExport({});
    EXPECT_NE(r.code, 0);
    EXPECT_TRUE(r.err.contains("Failed to initialize the application's saved data"));
    EXPECT_TRUE(
        r.err.contains("There was an error creating or loading the application's saved data."));
    EXPECT_EQ(readFile(storePath()), "<database><object");

    TempHome::clear();
    EXPECT_EQ(runExport({}).code, 0) << "no store yet is an empty library";
    EXPECT_FALSE(QFileInfo::exists(storeFolder())) << "nothing created";
}
