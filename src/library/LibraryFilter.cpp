#include "library/LibraryFilter.h"

#include "library/ArrayController.h"
#include "library/FetchRequest.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"

#include <QSet>

LibraryFilter::LibraryFilter(ArrayController* allSongs, ArrayController* allSetlists,
                             ObjectContext* context)
    : allSongs_(allSongs), allSetlists_(allSetlists), context_(context) {}

void LibraryFilter::makePredicateTemplate() {
    predicateTemplate = Predicate::withFormat(QStringLiteral("(title contains[cd] $searchString)"));
}

void LibraryFilter::changePredicate(const QString& text) {
    Predicate filter;
    if (!text.isEmpty()) {
        if (predicateTemplate.isNull()) makePredicateTemplate();
        filter = predicateTemplate.withSubstitutionVariables({{"searchString", text}});
    }
    if (allSongs_) allSongs_->setFilterPredicate(filter);
    if (reloadSongs) reloadSongs();
}

QList<ManagedObject*> LibraryFilter::removeDuplicatesInArray(const QList<ManagedObject*>& songs) {
    QList<ManagedObject*> out;
    out.reserve(songs.size());
    QSet<QString> seen;
    for (auto* song : songs) {
        const QVariant path = song->value("path");
        if (!path.isValid() || path.isNull()) {
            out.append(song);
            continue;
        }
        const QString p = path.toString();
        if (seen.contains(p)) continue;
        seen.insert(p);
        out.append(song);
    }
    return out;
}

QList<ManagedObject*> LibraryFilter::returnFilteredArray() {
    songsArrayToCheck = allSongs_ ? allSongs_->arrangedObjects() : QList<ManagedObject*>();
    filteredArray = removeDuplicatesInArray(songsArrayToCheck);
    return filteredArray;
}

ManagedObject* LibraryFilter::getCurrentSetlist() const {
    if (!allSetlists_) return nullptr;
    const auto selected = allSetlists_->selectedObjects();
    return selected.isEmpty() ? nullptr : selected.first();
}

void LibraryFilter::checkNumberOfSetlists() {
    if (!context_) return;
    if (!context_->executeFetchRequest({"Setlist", {}, {}, 0}).isEmpty()) return;
    ManagedObject* setlist = context_->insertNewObject("Setlist");
    setlist->setValue("name", QStringLiteral("new Setlist"));
}

void LibraryFilter::checkNumberOfSongs() {
    // Builds the request and leaves it unused: an empty library stays empty.
    [[maybe_unused]] FetchRequest request{"Song", {}, {}, 0};
}

void LibraryFilter::blankSetlist() {
    if (!context_) return;
    const auto unnamed = context_->executeFetchRequest(
        {"Setlist", Predicate::withFormat("name=nil OR name=''"), {}, 0});
    for (auto* setlist : unnamed)
        setlist->setValue("name", QStringLiteral("Setlist"));
}
