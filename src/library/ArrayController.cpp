#include "library/ArrayController.h"

#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "library/OrderedSetArrayValueTransformer.h"
#include "platform/Guard.h"
#include "platform/RangeError.h"

#include <QSet>

ArrayController::ArrayController(QObject* parent) : ArrangedContent(parent) {}

ObjectContext* ArrayController::managedObjectContext() const {
    return context_;
}

void ArrayController::setManagedObjectContext(ObjectContext* context) {
    if (context_) disconnect(context_, nullptr, this, nullptr);
    context_ = context;
    if (context_)
        connect(context_, &ObjectContext::objectsDidChange, this, &ArrayController::contextChanged);
    stamp_ = ~quint64(0);
}

void ArrayController::setEntityName(const QString& name) {
    entityName_ = name;
    stamp_ = ~quint64(0);
}

void ArrayController::bindContentArray(ArrayController* source, const QString& key) {
    if (source_) disconnect(source_, nullptr, this, nullptr);
    source_ = source;
    sourceKey_ = key;
    if (source_)
        connect(source_, &ArrangedContent::selectionChanged, this, [this] {
            rebuild();
            emit arrangedObjectsChanged();
        });
    stamp_ = ~quint64(0);
}

BindingInfo ArrayController::infoForBinding(const QString& binding) const {
    if (binding == QLatin1String("contentArray") && source_)
        return {source_.data(), QStringLiteral("selection.") + sourceKey_};
    return {};
}

void ArrayController::setSortDescriptors(const QList<SortDescriptor>& descriptors) {
    sortDescriptors_ = descriptors;
    sortedGeneration_ = ~quint64(0);
    rearrangeObjects();
}

void ArrayController::setFilterPredicate(const Predicate& predicate) {
    filter_ = predicate;
    rearrangeObjects();
}

ManagedObject* ArrayController::contentOwner() const {
    if (!source_) return nullptr;
    const auto selected = source_->selectedObjects();
    return selected.isEmpty() ? nullptr : selected.first();
}

QList<ManagedObject*> ArrayController::content() const {
    if (source_) {
        ManagedObject* owner = contentOwner();
        if (!owner || owner->isDeleted()) return {};
        return OrderedSetArrayValueTransformer::transformedValue(owner->orderedObjects(sourceKey_));
    }
    if (!context_ || entityName_.isEmpty()) return {};
    const auto* entity = context_->model().entity(entityName_);
    return entity ? context_->registeredObjects(entity) : QList<ManagedObject*>();
}

quint64 ArrayController::currentStamp() const {
    const quint64 g = context_ ? context_->generation() : 0;
    const quint64 s = source_ ? source_->selectionGeneration() : 0;
    return g * 1000003u + s;
}

void ArrayController::refreshIfStale() {
    if (stamp_ != currentStamp()) rebuild();
}

void ArrayController::rebuild() {
    const auto all = content();
    const quint64 generation = context_ ? context_->generation() : 0;
    if (!all.isSharedWith(sortedFrom_) || all.size() != sortedFrom_.size() ||
        generation != sortedGeneration_) {
        sortedFrom_ = all;
        sorted_ = all;
        sortBySortDescriptors(sorted_, sortDescriptors_);
        sortedGeneration_ = generation;
    }
    QList<ManagedObject*> list;
    if (filter_.isNull()) {
        list = sorted_;
    } else {
        for (auto* o : sorted_)
            if (filter_.evaluate(*o)) list.append(o);
    }
    arranged_ = std::move(list);
    stamp_ = currentStamp();
    // Keep the selected objects that are still arranged; never leave rows without one.
    QList<ManagedObject*> kept;
    if (selected_.size() <= 8) { // the usual single selection needs no set of 10,000 rows
        for (auto* o : selected_)
            if (arranged_.contains(o)) kept.append(o);
    } else {
        const QSet<ManagedObject*> present(arranged_.cbegin(), arranged_.cend());
        for (auto* o : selected_)
            if (present.contains(o)) kept.append(o);
    }
    if (kept.isEmpty() && !arranged_.isEmpty()) kept.append(arranged_.first());
    if (kept != selected_) {
        selected_ = kept;
        ++selectionGeneration_;
        emit selectionChanged();
    }
}

void ArrayController::contextChanged() {
    refreshIfStale();
    // A read in between may have rebuilt already; the views still have to hear of it.
    if (stamp_ == announced_) return;
    announced_ = stamp_;
    emit arrangedObjectsChanged();
}

const QList<ManagedObject*>& ArrayController::arrangedObjects() {
    refreshIfStale();
    return arranged_;
}

QList<ManagedObject*> ArrayController::selectedObjects() {
    refreshIfStale();
    return selected_;
}

IndexSet ArrayController::selectionIndexes() {
    refreshIfStale();
    IndexSet set;
    for (auto* o : selected_)
        set.add(arranged_.indexOf(o));
    return set;
}

qsizetype ArrayController::selectionIndex() {
    const IndexSet set = selectionIndexes();
    return set.isEmpty() ? -1 : set.first();
}

void ArrayController::selectObjects(const QList<ManagedObject*>& objects) {
    if (objects == selected_) return;
    selected_ = objects;
    ++selectionGeneration_;
    emit selectionChanged();
}

bool ArrayController::setSelectionIndexes(const IndexSet& indexes) {
    refreshIfStale();
    QList<ManagedObject*> objects;
    for (auto i : indexes.indexes())
        if (i >= 0 && i < arranged_.size()) objects.append(arranged_[i]);
    if (objects.isEmpty() && !arranged_.isEmpty())
        objects.append(arranged_.first()); // an empty selection is avoided
    selectObjects(objects);
    return true;
}

bool ArrayController::setSelectionIndex(qsizetype index) {
    return setSelectionIndexes({index});
}

void ArrayController::fetch() {
    rebuild();
    emit arrangedObjectsChanged();
}

void ArrayController::rearrangeObjects() {
    rebuild();
    emit arrangedObjectsChanged();
}

ManagedObject* ArrayController::add() {
    if (!context_) return nullptr;
    QString entity = entityName_;
    if (source_) {
        ManagedObject* owner = contentOwner();
        if (!owner) return nullptr;
        entity = owner->entity()
                     .relationships()[owner->entity().relationshipIndex(sourceKey_)]
                     .destination;
    }
    ManagedObject* object = context_->insertNewObject(entity);
    addObject(object);
    return object;
}

void ArrayController::addObject(ManagedObject* object) {
    if (source_) {
        if (ManagedObject* owner = contentOwner())
            owner->mutableOrderedSetValueForKey(sourceKey_).addObject(object);
    }
    rebuild();
    if (arranged_.contains(object)) selectObjects({object});
    emit arrangedObjectsChanged();
}

void ArrayController::removeObject(ManagedObject* object) {
    if (!object) return;
    if (source_) {
        if (ManagedObject* owner = contentOwner())
            owner->mutableOrderedSetValueForKey(sourceKey_).removeObject(object);
    } else if (context_) {
        context_->deleteObject(object);
    }
    rebuild();
    emit arrangedObjectsChanged();
}

bool ArrayController::removeObjectAtArrangedObjectIndex(qsizetype index) {
    refreshIfStale();
    if (index < 0 || index >= arranged_.size()) {
        endOperation(RangeError(QStringLiteral("*** index %1 beyond bounds [0 .. %2]")
                                    .arg(index)
                                    .arg(arranged_.size() - 1)
                                    .toStdString()));
        return false;
    }
    removeObject(arranged_[index]);
    return true;
}

qsizetype ArrayController::arrangedCount() {
    return arrangedObjects().size();
}

QVariant ArrayController::arrangedValue(qsizetype row, const QString& key) {
    const auto& list = arrangedObjects();
    if (row < 0 || row >= list.size()) return {};
    return list[row]->value(key);
}

void ArrayController::setArrangedValue(qsizetype row, const QString& key, const QVariant& value) {
    const auto& list = arrangedObjects();
    if (row >= 0 && row < list.size()) list[row]->setValue(key, value);
}
