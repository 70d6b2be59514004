#pragma once

#include "library/Predicate.h"

#include <QList>
#include <QPointer>
#include <functional>

class ArrayController;
class ManagedObject;
class ObjectContext;

// The song list's view of the library: title search, one row per project path, the current
// setlist, and the start-up checks that keep a setlist to drop songs into.
class LibraryFilter {
public:
    LibraryFilter(ArrayController* allSongs, ArrayController* allSetlists, ObjectContext* context);

    void makePredicateTemplate();
    // Empty text removes the filter. `reloadSongs` runs afterwards (the song table's reload).
    void changePredicate(const QString& text);
    std::function<void()> reloadSongs;

    QList<ManagedObject*> returnFilteredArray();
    // Keeps the first record of each path, in order; records without a path always stay.
    static QList<ManagedObject*> removeDuplicatesInArray(const QList<ManagedObject*>& songs);
    // removeDuplicatesInArray, worked out again only when the list or the library changed:
    // the song table asks for it on every row count.
    const QList<ManagedObject*>& uniqueByPath(const QList<ManagedObject*>& songs);
    ManagedObject* getCurrentSetlist() const;

    void checkNumberOfSetlists();
    void checkNumberOfSongs();
    void blankSetlist();

    Predicate predicateTemplate;
    QList<ManagedObject*> songsArrayToCheck;
    QList<ManagedObject*> filteredArray;

private:
    QPointer<ArrayController> allSongs_;
    QPointer<ArrayController> allSetlists_;
    QPointer<ObjectContext> context_;
    QList<ManagedObject*> uniqueInput_, uniqueOutput_;
    quint64 uniqueGeneration_ = ~quint64(0);
};
