#include "library/FetchRequest.h"
#include "library/LibraryStack.h"
#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "library/PersistentStore.h"
#include "library/XmlStoreWriter.h"
#include "platform/Error.h"
#include "support/LibraryHelpers.h"
#include "support/ScriptedAlerts.h"
#include "support/TempHome.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <csignal>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

using namespace helpers;

class LibraryStore : public ::testing::Test {
protected:
    void SetUp() override { TempHome::clear(); }
    ScriptedAlerts alerts;
};

TEST_F(LibraryStore, FirstStartCreatesFolderAndRoundTripsTheGraph) {
    QDateTime created;
    {
        LibraryStack stack(&alerts);
        ObjectContext* c = stack.managedObjectContext();
        ASSERT_NE(c, nullptr);
        auto* setlist = addSetlist(*c, "Friday <&> \"live\"");
        created = setlist->value("dateCreated").toDateTime();
        auto* a = addSong(*c, "Intro", "/songs/Intro.logicx", 3);
        auto* b = addSong(*c, "Ballade à l'été", "/songs/Ballade.logicx", 7);
        a->setValue("midiOutEnabled", true);
        auto* m = c->insertNewObject("MidiMessage");
        m->setValue("mMinterfaceUniqueID", -5);
        b->mutableOrderedSetValueForKey("midiMessage").addObject(m);
        setlist->mutableOrderedSetValueForKey("song").addObject(b);
        setlist->mutableOrderedSetValueForKey("song").addObject(a);
        stack.saveAction();
    }
    LibraryStack stack(&alerts);
    ObjectContext* c = stack.managedObjectContext();
    ASSERT_NE(c, nullptr);
    auto setlists = c->executeFetchRequest({"Setlist", {}, {}, 0});
    ASSERT_EQ(setlists.size(), 1);
    EXPECT_EQ(setlists[0]->stringValue("name"), "Friday <&> \"live\"");
    EXPECT_EQ(setlists[0]->value("dateCreated").toDateTime().toMSecsSinceEpoch(),
              created.toMSecsSinceEpoch());
    const auto& songs = setlists[0]->orderedObjects("song");
    ASSERT_EQ(songs.size(), 2);
    EXPECT_EQ(songs[0]->stringValue("title"), "Ballade à l'été");
    EXPECT_EQ(songs[1]->value("midiOutEnabled").toBool(), true);
    EXPECT_FALSE(songs[0]->value("midiOutChannel").isValid()) << "absent stays absent";
    ASSERT_EQ(songs[0]->orderedObjects("midiMessage").size(), 1);
    EXPECT_EQ(songs[0]->orderedObjects("midiMessage")[0]->integerValue("mMinterfaceUniqueID"), -5);
    EXPECT_EQ(songs[0]->orderedObjects("midiMessage")[0]->relatedObject("song"), songs[0]);
}

TEST_F(LibraryStore, ReadsTheXmlDialectWithObjectsInAnyOrder) {
    writeFile(storePath(), R"(<?xml version="1.0" standalone="yes"?>
<!DOCTYPE database SYSTEM "file:///System/Library/DTDs/CoreData.dtd">
<database>
    <databaseInfo><version>134481920</version><UUID>6F1E0000-AAAA-BBBB-CCCC-000000000001</UUID>
        <nextObjectID>104</nextObjectID><metadata><plist>ignored</plist></metadata></databaseInfo>
    <object type="SONG" id="z102">
        <attribute name="title" type="string">Intro</attribute>
        <attribute name="midiin" type="int16">3</attribute>
        <relationship name="setlist" type="1/1" destination="SETLIST" idrefs="z103"></relationship>
        <relationship name="midimessage" type="0/0" destination="MIDIMESSAGE"></relationship>
        <futureElement/>
    </object>
    <object type="SETLIST" id="z103">
        <attribute name="name" type="string">Friday</attribute>
        <attribute name="datecreated" type="date">786123456.12345600128173828125</attribute>
        <relationship name="song" type="0/0" destination="SONG" idrefs="z104 z102"></relationship>
    </object>
    <object type="SONG" id="z104">
        <attribute name="title" type="string">Opener</attribute>
        <relationship name="setlist" type="1/1" destination="SETLIST" idrefs="z103"></relationship>
    </object>
</database>
)");
    LibraryStack stack(&alerts);
    ObjectContext* c = stack.managedObjectContext();
    ASSERT_NE(c, nullptr);
    auto setlist = c->executeFetchRequest({"Setlist", {}, {}, 0}).value(0);
    ASSERT_NE(setlist, nullptr);
    const auto& songs = setlist->orderedObjects("song");
    ASSERT_EQ(songs.size(), 2);
    EXPECT_EQ(songs[0]->stringValue("title"), "Opener");
    EXPECT_EQ(songs[1]->integerValue("midiIn"), 3);
    EXPECT_EQ(setlist->value("dateCreated").toDateTime(),
              QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC).addMSecs(786123456123LL));
}

struct BadStore {
    const char* name;
    QByteArray bytes;
};

TEST_F(LibraryStore, UnreadableStoreIsReportedAndNeverOverwritten) {
    const QByteArray valid = R"(<?xml version="1.0"?><database><databaseInfo><UUID>A</UUID>
<nextObjectID>1</nextObjectID></databaseInfo><object type="SONG" id="z1">
<attribute name="title" type="string">x</attribute></object></database>)";
    // Each entity sixteen of the one before: a billion characters from a few hundred bytes.
    QByteArray bomb =
        "<?xml version=\"1.0\"?><!DOCTYPE database [<!ENTITY a \"" + QByteArray(54, 'a') + "\">";
    for (char e = 'b'; e <= 'g'; ++e)
        bomb += "<!ENTITY " + QByteArray(1, e) + " \"" +
                ("&" + QByteArray(1, char(e - 1)) + ";").repeated(16) + "\">";
    bomb += "]>" + QByteArray(valid).replace(">x<", ">&g;<").sliced(valid.indexOf("<database>"));
    const BadStore cases[] = {
        {"empty", ""},
        {"entity bomb", bomb},
        {"unknown entity", QByteArray(valid).replace("SONG", "CONCERT")},
        {"dangling idref",
         QByteArray(valid).replace("</object>",
                                   "<relationship name=\"setlist\" idrefs=\"z9\"/></object>")},
        {"reference to the wrong entity",
         QByteArray(valid).replace("</database>",
                                   "<object type=\"MIDIMESSAGE\" id=\"z2\"></object>"
                                   "<object type=\"SETLIST\" id=\"z3\"><relationship "
                                   "name=\"song\" idrefs=\"z1 z2\"/></object></database>")},
        {"bad number", QByteArray(valid).replace("type=\"string\">x", "type=\"int16\">x")},
    };
    for (const auto& bad : cases) {
        SCOPED_TRACE(bad.name);
        TempHome::clear();
        alerts.presentedErrors.clear();
        writeFile(storePath(), bad.bytes);
        LibraryStack stack(&alerts);
        EXPECT_EQ(stack.managedObjectContext(), nullptr);
        ASSERT_EQ(alerts.presentedErrors.size(), 1);
        EXPECT_NE(alerts.presentedErrors[0].underlying, nullptr) << "the reader's reason";
        // Quitting without a library neither saves nor touches the file.
        EXPECT_EQ(stack.applicationShouldTerminate(), LibraryStack::TerminateReply::TerminateNow);
        stack.saveAction();
        EXPECT_EQ(readFile(storePath()), bad.bytes);
    }
    // A sound file opens after all that.
    TempHome::clear();
    writeFile(storePath(), valid);
    LibraryStack stack(&alerts);
    EXPECT_NE(stack.managedObjectContext(), nullptr);
}

// (app_lifecycle_test answers the quit alert's buttons.)
TEST_F(LibraryStore, AFailedSaveCancelsTheQuitWhenItsErrorIsRecovered) {
    LibraryStack stack(&alerts);
    ObjectContext* c = stack.managedObjectContext();
    addSong(*c, "B", "/b.logicx", 2);
    QFile::remove(storePath()); // saving fails once a folder takes the file's place
    QDir().mkpath(storePath());
    stack.saveAction();
    EXPECT_EQ(alerts.presentedErrors.size(), 1) << "the Save command presents its failure";
    EXPECT_TRUE(c->hasChanges());

    alerts.presentErrorResult = true;
    EXPECT_EQ(stack.applicationShouldTerminate(), LibraryStack::TerminateReply::TerminateCancel);
    EXPECT_TRUE(alerts.shownAlerts.isEmpty());
}

TEST_F(LibraryStore, DeleteRulesAndUndoGroupedPerTurn) {
    ObjectContext c(ManagedObjectModel::gigmoraTwo());
    auto* setlist = addSetlist(c, "Gig");
    auto* copy = addSong(c, "Copy", "/x.logicx", 1);
    auto* library = addSong(c, "Library", "/x.logicx", 1);
    auto* m = c.insertNewObject("MidiMessage");
    copy->mutableOrderedSetValueForKey("midiMessage").addObject(m);
    setlist->mutableOrderedSetValueForKey("song").addObject(copy);
    c.undoManager()->closeGroup();

    c.deleteObject(setlist);
    EXPECT_TRUE(copy->isDeleted()) << "a setlist takes its own song records along";
    EXPECT_TRUE(m->isDeleted()) << "a song takes its messages along";
    EXPECT_FALSE(library->isDeleted());
    EXPECT_EQ(c.executeFetchRequest({"Song", {}, {}, 0}), QList<ManagedObject*>{library});
    processEvents(); // the turn ends: one undo group

    c.undoManager()->undo();
    EXPECT_FALSE(copy->isDeleted());
    EXPECT_EQ(setlist->orderedObjects("song"), QList<ManagedObject*>{copy});
    EXPECT_EQ(copy->orderedObjects("midiMessage"), QList<ManagedObject*>{m});
    c.undoManager()->redo();
    EXPECT_TRUE(copy->isDeleted());
}

TEST_F(LibraryStore, KilledSaveLeavesAWholeStore) {
    {
        LibraryStack stack(&alerts);
        for (int i = 0; i < 3000; ++i)
            addSong(*stack.managedObjectContext(), QString("Song %1").arg(i),
                    QString("/s/%1.logicx").arg(i), i);
        stack.saveAction();
    }
    for (int round = 0; round < 8; ++round) {
        pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            LibraryStack stack(&alerts);
            ObjectContext* c = stack.managedObjectContext();
            for (int i = 0;; ++i) {
                addSong(*c, QString("More %1").arg(i), QString("/m/%1/%2.logicx").arg(round).arg(i),
                        i);
                stack.saveAction();
            }
        }
        usleep(20000 + round * 7919 % 60000);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        LibraryStack stack(&alerts);
        ObjectContext* c = stack.managedObjectContext();
        ASSERT_NE(c, nullptr) << "round " << round;
        EXPECT_GE(c->executeFetchRequest({"Song", {}, {}, 0}).size(), 3000);
    }
    EXPECT_TRUE(alerts.presentedErrors.isEmpty());
}

// Saves reuse each record's rendering until it changes: it must stay what a fresh one gives.
TEST_F(LibraryStore, KeptRenderingsFollowEveryEditUndoAndRedo) {
    Error e;
    auto store = PersistentStore::open(ManagedObjectModel::gigmoraTwo(), storePath(), &e);
    ASSERT_TRUE(store) << e.localizedDescription.toStdString();
    ObjectContext c(ManagedObjectModel::gigmoraTwo(), store.get());
    auto fresh = [&] {
        for (const auto& entity : c.model().entities())
            for (const ManagedObject* o : c.registeredObjects(entity.get()))
                o->invalidateStoreRendering();
        return XmlStoreWriter::write(c, *store);
    };
    std::mt19937 rng(7);
    auto any = [&](const char* entity) -> ManagedObject* {
        const auto from = c.executeFetchRequest({entity, {}, {}, 0});
        return from.isEmpty() ? nullptr : from[rng() % from.size()];
    };
    for (int i = 0; i < 4; ++i)
        addSetlist(c, QString("Gig %1").arg(i));
    for (int i = 0; i < 12; ++i)
        addSong(c, QString("Song %1").arg(i), QString("/p/%1.logicx").arg(i), i);
    XmlStoreWriter::write(c, *store); // every record now keeps a rendering
    for (int step = 0; step < 600; ++step) {
        ManagedObject* song = any("Song");
        ManagedObject* setlist = any("Setlist");
        UndoManager* undo = c.undoManager();
        switch (rng() % 7) {
        case 0:
            if (song) song->setValue("title", QString("T%1 <&>").arg(step));
            break;
        case 1:
            if (song && setlist) setlist->mutableOrderedSetValueForKey("song").addObject(song);
            break;
        case 2:
            if (setlist && !setlist->orderedObjects("song").isEmpty())
                setlist->mutableOrderedSetValueForKey("song").moveObjectsAtIndexes(
                    IndexSet::fromIndexes({0}), setlist->orderedObjects("song").size() - 1);
            break;
        case 3:
            if (song) {
                auto* m = c.insertNewObject("MidiMessage");
                m->setValue("mMchannel", step % 16);
                song->mutableOrderedSetValueForKey("midiMessage").addObject(m);
            }
            break;
        case 4:
            c.deleteObject(rng() % 2 ? song : any("MidiMessage"));
            break;
        case 5:
            if (rng() % 4 == 0) c.deleteObject(setlist);
            break;
        case 6:
            undo->closeGroup();
            if (rng() % 2 && undo->canUndo())
                undo->undo();
            else if (undo->canRedo())
                undo->redo();
            break;
        }
        if (rng() % 3 == 0) c.undoManager()->closeGroup();
        if (step % 5 == 0) {
            const QByteArray kept = XmlStoreWriter::write(c, *store);
            ASSERT_EQ(kept, fresh()) << "step " << step;
        }
    }
}

// Ids past 32 bits, past the renumbering line and past the signed range: open or refused.
TEST_F(LibraryStore, ExtremeObjectIdsOpenOrAreRefused) {
    const quint64 signedMax = quint64(std::numeric_limits<qint64>::max());
    const quint64 renumberAbove = signedMax / 2;
    for (const quint64 id : {(1ULL << 32) + 7, renumberAbove + 1, 1ULL << 63})
        for (const bool asLastNumber : {false, true}) {
            SCOPED_TRACE(std::to_string(id) + (asLastNumber ? " as nextObjectID" : " as id"));
            writeFile(storePath(), QString(R"(<?xml version="1.0"?><database><databaseInfo>
<UUID>A</UUID><nextObjectID>%1</nextObjectID></databaseInfo><object type="SONG" id="z%2">
<attribute name="title" type="string">Kept</attribute></object></database>)")
                                       .arg(asLastNumber ? id : 1)
                                       .arg(asLastNumber ? 1 : id)
                                       .toUtf8());
            LibraryStack stack(&alerts);
            ObjectContext* c = stack.managedObjectContext();
            if (id > signedMax) {
                EXPECT_EQ(c, nullptr);
                continue;
            }
            ASSERT_NE(c, nullptr);
            EXPECT_EQ(addSong(*c, "Added", "/songs/Added.logicx", 2)->objectNumber(),
                      id > renumberAbove ? 2 : id + 1);
        }
}
