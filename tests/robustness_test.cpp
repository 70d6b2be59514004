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

// Random damage to the library store; the keyed archives (settings, drag payloads) are
// fuzzed by fuzz_settings_plist.
namespace {
QByteArray mutate(const QByteArray& in, QRandomGenerator& rng) {
    QByteArray b = in;
    switch (rng.bounded(4)) {
    case 0: // truncate
        return b.left(rng.bounded(static_cast<int>(b.size()) + 1));
    case 1: // flip bytes
        for (int i = 0, n = 1 + rng.bounded(8); i < n; ++i)
            b[rng.bounded(static_cast<int>(b.size()))] = char(rng.bounded(256));
        return b;
    case 2: { // splice a chunk elsewhere
        const int from = rng.bounded(static_cast<int>(b.size()));
        const int len = rng.bounded(64);
        b.insert(rng.bounded(static_cast<int>(b.size())), b.mid(from, len));
        return b;
    }
    default: { // pure noise of the same kind of header
        QByteArray noise = b.left(8);
        for (int i = 0, n = rng.bounded(512); i < n; ++i)
            noise.append(char(rng.bounded(256)));
        return noise;
    }
    }
}

// Every relationship of every object points at an object of the right entity in the same
// context, and its inverse points back: what the program relies on after a load.
void expectConsistentGraph(ObjectContext& c) {
    for (const auto& entity : c.model().entities())
        for (ManagedObject* o : c.registeredObjects(entity.get()))
            for (size_t r = 0; r < entity->relationships().size(); ++r) {
                const RelationshipDescription& d = entity->relationships()[r];
                QList<ManagedObject*> targets = o->toManyAt(int(r));
                if (!d.toMany)
                    targets =
                        o->toOneAt(int(r)) ? QList{o->toOneAt(int(r))} : QList<ManagedObject*>{};
                for (ManagedObject* t : targets) {
                    ASSERT_EQ(t->entity().name(), d.destination) << d.name.toStdString();
                    ASSERT_EQ(t->managedObjectContext(), &c);
                    const int inverse = t->entity().relationshipIndex(d.inverse);
                    ASSERT_GE(inverse, 0);
                    const bool back = t->entity().relationships()[inverse].toMany
                                          ? t->toManyAt(inverse).contains(o)
                                          : t->toOneAt(inverse) == o;
                    EXPECT_TRUE(back) << "the inverse of " << d.name.toStdString();
                }
            }
}
} // namespace

// Mangled stores, relationships included, either open into a consistent graph or are refused
// with a reason; none crashes.
TEST(Robustness, StoreReaderSurvivesMangledFiles) {
    ObjectContext c(ManagedObjectModel::gigmoraTwo());
    ManagedObject* gig = addSetlist(c, "Gig");
    ManagedObject* encore = addSetlist(c, "Encore");
    for (int i = 0; i < 20; ++i) {
        ManagedObject* song =
            addSong(c, QString("Song %1 & <x>").arg(i), QString("/s/%1.logicx").arg(i), i);
        (i % 2 ? gig : encore)->mutableOrderedSetValueForKey("song").addObject(song);
        ManagedObject* message = c.insertNewObject("MidiMessage");
        song->mutableOrderedSetValueForKey("midiMessage").addObject(message);
    }
    Error error;
    TempHome::clear();
    auto store = PersistentStore::open(ManagedObjectModel::gigmoraTwo(), storePath(), &error);
    ASSERT_TRUE(store);
    const QByteArray seed = XmlStoreWriter::write(c, *store);
    ASSERT_TRUE(seed.contains("idrefs=\"z"));
    QRandomGenerator rng(42);
    int accepted = 0, refused = 0;
    for (int i = 0; i < 3000; ++i) {
        writeFile(storePath(), mutate(seed, rng));
        Error e;
        auto s = PersistentStore::open(ManagedObjectModel::gigmoraTwo(), storePath(), &e);
        if (s) {
            ObjectContext loaded(ManagedObjectModel::gigmoraTwo(), s.get());
            expectConsistentGraph(loaded);
            ++accepted;
        } else {
            EXPECT_FALSE(e.localizedFailureReason.isEmpty());
            ++refused;
        }
    }
    EXPECT_GT(accepted, 0);
    EXPECT_GT(refused, 0);
}
