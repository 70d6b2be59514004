#include "library/ArrayController.h"
#include "library/LibraryFilter.h"
#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "support/LibraryHelpers.h"

#include <gtest/gtest.h>

using namespace helpers;
using L = QList<ManagedObject*>;

class SearchAndFilter : public ::testing::Test {
protected:
    SearchAndFilter() {
        songs.setManagedObjectContext(&context);
        songs.setEntityName("Song");
        songs.setSortDescriptors({{"midiIn", true}});
        setlists.setManagedObjectContext(&context);
        setlists.setEntityName("Setlist");
        setlists.setSortDescriptors({{"name", true}});
    }
    ObjectContext context{ManagedObjectModel::gigmoraTwo()};
    ArrayController songs, setlists;
    LibraryFilter filter{&songs, &setlists, &context};
};

// One row per project path, the first in number order; cached rows still follow later edits.
// A search looks at titles only, ignoring case and diacritics.
TEST_F(SearchAndFilter, RowsFollowEditsMadeAfterTheyWereWorkedOut) {
    const L others{addSong(context, "Copy", "/al/b.logicx", 5), addSong(context, "Loose", {}, 4),
                   addSong(context, "Loose", {}, 4)};
    auto* a = addSong(context, "Alpha", "/a.logicx", 1);
    auto* b = addSong(context, "Beta", "/al/b.logicx", 2); // not its path
    auto* c = addSong(context, "ÄLPINE", "/c.logicx", 3);
    EXPECT_EQ(filter.returnFilteredArray(), (L{a, b, c, others[1], others[2]}));
    for (ManagedObject* o : others)
        context.deleteObject(o);
    filter.changePredicate("àl");
    EXPECT_EQ(filter.returnFilteredArray(), (L{a, c}));
    c->setValue("midiIn", 0);
    EXPECT_EQ(filter.returnFilteredArray(), (L{c, a})) << "renumbered while searching";
    c->setValue("path", "/a.logicx");
    EXPECT_EQ(filter.returnFilteredArray(), L{c}) << "now a second record of a's project";
    filter.changePredicate("");
    EXPECT_EQ(filter.returnFilteredArray(), (L{c, b}));
    c->setValue("path", "/c.logicx");
    auto* d = addSong(context, "Delta", "/d.logicx", 2);
    EXPECT_EQ(filter.returnFilteredArray(), (L{c, a, b, d})) << "ties keep their store order";
    context.deleteObject(b);
    EXPECT_EQ(filter.returnFilteredArray(), (L{c, a, d}));
}
