#include "library/EntityDescription.h"
#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "library/PersistentStore.h"
#include "library/XmlStoreWriter.h"
#include "platform/Error.h"
#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <QRandomGenerator>
#include <gtest/gtest.h>

using namespace helpers;

// fuzz_store_xml checks that a damaged store opens or is refused with a reason and saves what
// it reads back; this checks what it does not: a store that opens has every relationship point
// at an object of the right entity in the same context, and its inverse point back.
TEST(Robustness, MangledStoresOpenIntoAConsistentGraph) {
    ObjectContext c(ManagedObjectModel::gigmoraTwo());
    ManagedObject* gigs[] = {addSetlist(c, "Gig"), addSetlist(c, "Encore")};
    for (int i = 0; i < 20; ++i) {
        ManagedObject* song = addSong(c, QString("Song %1").arg(i), "/s.logicx", i);
        gigs[i % 2]->mutableOrderedSetValueForKey("song").addObject(song);
        song->mutableOrderedSetValueForKey("midiMessage")
            .addObject(c.insertNewObject("MidiMessage"));
    }
    TempHome::clear();
    Error error;
    auto store = PersistentStore::open(ManagedObjectModel::gigmoraTwo(), storePath(), &error);
    ASSERT_TRUE(store);
    const QByteArray seed = XmlStoreWriter::write(c, *store);
    QRandomGenerator rng(42);
    int accepted = 0;
    for (int i = 0; i < 3000; ++i) {
        QByteArray b = seed;
        if (rng.bounded(2)) // flip bytes, or splice a chunk elsewhere
            for (int k = 0, n = 1 + rng.bounded(8); k < n; ++k)
                b[rng.bounded(int(b.size()))] = char(rng.bounded(256));
        else
            b.insert(rng.bounded(int(b.size())),
                     b.mid(rng.bounded(int(b.size())), rng.bounded(64)));
        writeFile(storePath(), b);
        auto s = PersistentStore::open(ManagedObjectModel::gigmoraTwo(), storePath(), &error);
        if (!s) continue;
        ++accepted;
        ObjectContext loaded(ManagedObjectModel::gigmoraTwo(), s.get());
        for (const auto& entity : loaded.model().entities())
            for (ManagedObject* o : loaded.registeredObjects(entity.get()))
                for (int r = 0; r < int(entity->relationships().size()); ++r) {
                    const RelationshipDescription& d = entity->relationships()[r];
                    QList<ManagedObject*> targets = o->toManyAt(r);
                    if (!d.toMany)
                        targets = o->toOneAt(r) ? QList{o->toOneAt(r)} : QList<ManagedObject*>{};
                    for (ManagedObject* t : targets) {
                        ASSERT_EQ(t->entity().name(), d.destination) << d.name.toStdString();
                        ASSERT_EQ(t->managedObjectContext(), &loaded);
                        const int inverse = t->entity().relationshipIndex(d.inverse);
                        ASSERT_GE(inverse, 0);
                        EXPECT_TRUE(t->entity().relationships()[inverse].toMany
                                        ? t->toManyAt(inverse).contains(o)
                                        : t->toOneAt(inverse) == o)
                            << "the inverse of " << d.name.toStdString();
                    }
                }
    }
    EXPECT_GT(accepted, 20);
}
