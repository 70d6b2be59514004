#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "library/PersistentStore.h"
#include "library/Song.h"
#include "library/TransferRecords.h"
#include "library/XmlStoreReader.h"
#include "library/XmlStoreWriter.h"
#include "platform/Error.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"
#include "settings/Storage.h"
#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <QRandomGenerator>
#include <gtest/gtest.h>

using namespace helpers;

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
} // namespace

// Random and truncated input never crashes or hangs the unarchiver.
TEST(Robustness, KeyedUnarchiverSurvivesMangledArchives) {
    ObjectContext c(ManagedObjectModel::gigmoraTwo());
    auto* setlist = addSetlist(c, "Gig");
    auto* song = addSong(c, "Intro", "/Intro.logicx", 12);
    setlist->mutableOrderedSetValueForKey("song").addObject(song);
    Storage storage;
    storage.storageSelectedMidiChannel = 3;
    const QByteArray seeds[] = {
        KeyedArchiver::archivedDataWithRootObject(static_cast<Song*>(song)),
        KeyedArchiver::archivedDataWithRootObject(&storage),
        TransferRecords::rowIndexesPayload({1, 5, 9}),
        TransferRecords::songURIsPayload({song}, c),
    };
    QRandomGenerator rng(20261121);
    int decoded = 0;
    for (int i = 0; i < 6000; ++i) {
        const QByteArray input = mutate(seeds[i % 4], rng);
        KeyedUnarchiver coder(input);
        TransferRecords::registerClasses(coder, ManagedObjectModel::gigmoraTwo());
        coder.registerClass("Storage",
                            [](KeyedUnarchiver& u) { return Storage::initWithCoder(u); });
        decoded += coder.decodeObject("root").isValid() ? 1 : 0;
        coder.decodeFloat("root");
        KeyedUnarchiver::unarchiveObjectWithData(input);
    }
    EXPECT_GT(decoded, 0) << "some mutations still decode";
}

TEST(Robustness, StoreReaderSurvivesMangledFiles) {
    ObjectContext c(ManagedObjectModel::gigmoraTwo());
    for (int i = 0; i < 20; ++i)
        addSong(c, QString("Song %1 & <x>").arg(i), QString("/s/%1.logicx").arg(i), i);
    addSetlist(c, "Gig")->mutableOrderedSetValueForKey("song");
    Error error;
    TempHome::clear();
    auto store = PersistentStore::open(ManagedObjectModel::gigmoraTwo(), storePath(), &error);
    ASSERT_TRUE(store);
    const QByteArray seed = XmlStoreWriter::write(c, *store);
    QRandomGenerator rng(42);
    int accepted = 0;
    for (int i = 0; i < 3000; ++i) {
        writeFile(storePath(), mutate(seed, rng));
        Error e;
        auto s = PersistentStore::open(ManagedObjectModel::gigmoraTwo(), storePath(), &e);
        if (s) {
            ObjectContext loaded(ManagedObjectModel::gigmoraTwo(), s.get());
            ++accepted;
        } else {
            EXPECT_FALSE(e.localizedFailureReason.isEmpty());
        }
    }
    SUCCEED() << accepted << " mutated files were still valid stores";
}
