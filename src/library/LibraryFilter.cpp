#include "library/LibraryFilter.h"

#include "library/ArrayController.h"
#include "library/EntityDescription.h"
#include "library/FetchRequest.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"

#include <stdexcept>
#include <unordered_set>

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

namespace {
[[noreturn]] void unknownPath(const ManagedObject& song) {
    song.value(QStringLiteral("path")); // throws the unknown-key error
    throw std::logic_error("no path");
}
} // namespace

QList<ManagedObject*> LibraryFilter::removeDuplicatesInArray(const QList<ManagedObject*>& songs) {
    QList<ManagedObject*> out;
    out.reserve(songs.size());
    // Views of the records' own strings: no copies and no reference counting on the way.
    struct Hash {
        size_t operator()(QStringView v) const noexcept { return qHash(v); }
    };
    std::unordered_set<QStringView, Hash> seen;
    seen.reserve(size_t(songs.size()));
    const EntityDescription* entity = nullptr;
    int pathIndex = -1;
    for (auto* song : songs) {
        if (&song->entity() != entity) {
            entity = &song->entity();
            pathIndex = entity->attributeIndex(QStringLiteral("path"));
        }
        if (pathIndex < 0) unknownPath(*song);
        const QVariant& path = song->attributeAt(pathIndex);
        if (!path.isValid() || path.isNull()) {
            out.append(song);
            continue;
        }
        if (!seen.insert(QStringView(*static_cast<const QString*>(path.constData()))).second)
            continue;
        out.append(song);
    }
    return out;
}

QList<ManagedObject*> LibraryFilter::returnFilteredArray() {
    songsArrayToCheck = allSongs_ ? allSongs_->arrangedObjects() : QList<ManagedObject*>();
    filteredArray = uniqueByPath(songsArrayToCheck);
    return filteredArray;
}

const QList<ManagedObject*>& LibraryFilter::uniqueByPath(const QList<ManagedObject*>& songs) {
    const quint64 generation = context_ ? context_->generation() : 0;
    // A path can change without the list changing, hence the library's generation too.
    if (!songs.isSharedWith(uniqueInput_) || generation != uniqueGeneration_ ||
        songs.size() != uniqueInput_.size()) {
        uniqueInput_ = songs;
        uniqueOutput_ = removeDuplicatesInArray(songs);
        uniqueGeneration_ = generation;
    }
    return uniqueOutput_;
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
