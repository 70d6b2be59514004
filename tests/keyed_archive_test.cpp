#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "library/OrderedSetArrayValueTransformer.h"
#include "library/Setlist.h"
#include "library/Song.h"
#include "library/TransferRecords.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"
#include "platform/PlistNode.h"
#include "support/LibraryHelpers.h"

#include <QDateTime>
#include <gtest/gtest.h>

using namespace helpers;

namespace {
QString str(plist_t n) {
    char* s = nullptr;
    plist_get_string_val(n, &s);
    QString out = QString::fromUtf8(s);
    free(s);
    return out;
}
} // namespace

TEST(KeyedArchive, HasTheKeyedArchiverShape) {
    ObjectContext c(ManagedObjectModel::gigmoraTwo());
    auto* song = addSong(c, "Intro", "/Intro.logicx", 12);
    const QByteArray data = KeyedArchiver::archivedDataWithRootObject(static_cast<Song*>(song));
    ASSERT_TRUE(data.startsWith("bplist00"));
    plist_t raw = nullptr;
    plist_from_bin(data.constData(), data.size(), &raw);
    PlistNode root(raw);
    ASSERT_TRUE(root);
    EXPECT_EQ(str(plist_dict_get_item(root.get(), "$archiver")), "NSKeyedArchiver");
    uint64_t version = 0;
    plist_get_uint_val(plist_dict_get_item(root.get(), "$version"), &version);
    EXPECT_EQ(version, 100000u);
    plist_t objects = plist_dict_get_item(root.get(), "$objects");
    EXPECT_EQ(str(plist_array_get_item(objects, 0)), "$null");
    uint64_t rootUid = 0;
    plist_get_uid_val(plist_dict_get_item(plist_dict_get_item(root.get(), "$top"), "root"),
                      &rootUid);
    plist_t record = plist_array_get_item(objects, rootUid);
    // Numbers and strings stand directly in $objects; absent values point at $null.
    uint64_t uid = 0;
    plist_get_uid_val(plist_dict_get_item(record, "midiIn"), &uid);
    uint64_t number = 0;
    plist_get_uint_val(plist_array_get_item(objects, uid), &number);
    EXPECT_EQ(number, 12u);
    plist_get_uid_val(plist_dict_get_item(record, "title"), &uid);
    EXPECT_EQ(str(plist_array_get_item(objects, uid)), "Intro");
    plist_get_uid_val(plist_dict_get_item(record, "ccValue"), &uid);
    EXPECT_EQ(uid, 0u);
    plist_get_uid_val(plist_dict_get_item(record, "$class"), &uid);
    plist_t cls = plist_array_get_item(objects, uid);
    EXPECT_EQ(str(plist_dict_get_item(cls, "$classname")), "Song");
    EXPECT_EQ(plist_array_get_size(plist_dict_get_item(cls, "$classes")), 3u);
}

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
    EXPECT_FALSE(copy->value("midiOutChannel").isValid());
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

// The drag payloads are read back by the drag and drop suites.
TEST(KeyedArchive, TransformerAndPlainValues) {
    ObjectContext c(ManagedObjectModel::gigmoraTwo());
    auto* a = addSong(c, "A", "/a.logicx", 1);
    auto* b = addSong(c, "B", "/b.logicx", 2);
    using L = QList<ManagedObject*>;
    EXPECT_EQ(OrderedSetArrayValueTransformer::reverseTransformedValue({a, b, a}), (L{a, b}));
    EXPECT_TRUE(OrderedSetArrayValueTransformer::transformedValue({}).isEmpty());

    const QVariantList plain{1,
                             -7,
                             2.5,
                             true,
                             QString("é"),
                             QVariant(),
                             QDateTime::fromMSecsSinceEpoch(1234567890123, Qt::UTC)};
    EXPECT_EQ(
        KeyedUnarchiver::unarchiveObjectWithData(KeyedArchiver::archivedDataWithRootObject(plain)),
        QVariant(plain));
}
