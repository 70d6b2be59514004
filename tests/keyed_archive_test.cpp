#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "library/Setlist.h"
#include "library/Song.h"
#include "library/TransferRecords.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"
#include "support/LibraryHelpers.h"

#include <gtest/gtest.h>

using namespace helpers;

TEST(KeyedArchive, SongRoundTripAndTheSetlistQuirk) {
    ObjectContext c(ManagedObjectModel::gigmoraTwo());
    auto* setlist = addSetlist(c, "Friday");
    auto* song = addSong(c, "Intro", "/Intro.logicx", 12);
    song->setValue("midiOutEnabled", true);
    song->setValue("ccValue", 64);
    auto* m = c.insertNewObject("MidiMessage");
    m->setValue("mMchannel", 3);
    song->mutableOrderedSetValueForKey("midiMessage").addObject(m);
    setlist->mutableOrderedSetValueForKey("song").addObject(song);

    KeyedUnarchiver coder(KeyedArchiver::archivedDataWithRootObject(static_cast<Song*>(song)));
    TransferRecords::registerClasses(coder, ManagedObjectModel::gigmoraTwo());
    auto* copy = dynamic_cast<ManagedObject*>(coder.decodeObject("root").value<KeyedCoding*>());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->managedObjectContext(), nullptr);
    for (const char* key : {"title", "path", "midiIn", "midiOutEnabled", "ccValue",
                            "midiOutChannel", "midiOutMessageType", "progOrCcNumber"})
        EXPECT_EQ(copy->value(key), song->value(key)) << key;
    ASSERT_EQ(copy->orderedObjects("midiMessage").size(), 1);
    EXPECT_EQ(copy->orderedObjects("midiMessage")[0]->integerValue("mMchannel"), 3);
    // The owning setlist comes back as a detached Song-shaped record without name or date.
    ManagedObject* decodedSetlist = copy->relatedObject("setlist");
    ASSERT_NE(decodedSetlist, nullptr);
    EXPECT_EQ(decodedSetlist->entity().name(), "Song");
    EXPECT_THROW(decodedSetlist->value("name"), std::exception);

    KeyedUnarchiver coder2(
        KeyedArchiver::archivedDataWithRootObject(static_cast<Setlist*>(setlist)));
    TransferRecords::registerClasses(coder2, ManagedObjectModel::gigmoraTwo());
    auto* fromSetlist =
        dynamic_cast<ManagedObject*>(coder2.decodeObject("root").value<KeyedCoding*>());
    ASSERT_NE(fromSetlist, nullptr);
    EXPECT_EQ(fromSetlist->entity().name(), "Song");
    EXPECT_FALSE(fromSetlist->value("title").isValid());
}
