#include "library/OrderedRelation.h"

#include "library/EntityDescription.h"
#include "library/ManagedObject.h"
#include "platform/RangeError.h"

namespace {
[[noreturn]] void outOfRange(qsizetype index, qsizetype count) {
    throw RangeError(QStringLiteral("*** index %1 beyond bounds [0 .. %2]")
                         .arg(index)
                         .arg(count - 1)
                         .toStdString());
}
} // namespace

OrderedRelation::OrderedRelation(ManagedObject* owner, int relationship)
    : owner_(owner), rel_(relationship) {}

const QList<ManagedObject*>& OrderedRelation::array() const {
    return owner_->toManyAt(rel_);
}
qsizetype OrderedRelation::count() const {
    return array().size();
}

ManagedObject* OrderedRelation::objectAtIndex(qsizetype index) const {
    if (index < 0 || index >= count()) outOfRange(index, count());
    return array()[index];
}

qsizetype OrderedRelation::indexOfObject(const ManagedObject* object) const {
    return array().indexOf(const_cast<ManagedObject*>(object));
}

void OrderedRelation::insertObject(ManagedObject* object, qsizetype index) {
    if (!object || array().contains(object)) return;
    if (index < 0 || index > count()) outOfRange(index, count() + 1);
    if (owner_->context_) {
        // The element leaves its previous owner, as a record belongs to one owner only.
        const auto& d = owner_->entity_->relationships()[rel_];
        int inv = object->entity_->relationshipIndex(d.inverse);
        if (inv >= 0 && !object->entity_->relationships()[inv].toMany) {
            if (ManagedObject* prev = object->relations_[inv].one; prev && prev != owner_)
                object->detachFromInverse(inv, prev);
            object->changeToOne(inv, owner_);
        }
    }
    owner_->insertToMany(rel_, object, index);
}

void OrderedRelation::addObject(ManagedObject* object) {
    insertObject(object, count());
}

void OrderedRelation::removeObjectAtIndex(qsizetype index) {
    ManagedObject* object = objectAtIndex(index);
    owner_->removeToManyAt(rel_, index);
    if (owner_->context_) {
        const auto& d = owner_->entity_->relationships()[rel_];
        int inv = object->entity_->relationshipIndex(d.inverse);
        if (inv >= 0 && !object->entity_->relationships()[inv].toMany &&
            object->relations_[inv].one == owner_)
            object->changeToOne(inv, nullptr);
    }
}

void OrderedRelation::removeObject(ManagedObject* object) {
    qsizetype i = indexOfObject(object);
    if (i >= 0) removeObjectAtIndex(i);
}

void OrderedRelation::moveObjectsAtIndexes(const IndexSet& indexes, qsizetype index) {
    for (auto i : indexes.indexes())
        if (i < 0 || i >= count()) outOfRange(i, count());
    QList<ManagedObject*> moving;
    for (auto i : indexes.indexes())
        moving.append(array()[i]);
    const qsizetype remaining = count() - moving.size();
    if (index < 0 || index > remaining) outOfRange(index, remaining + 1);
    // A move keeps membership, so the inverse side does not change.
    for (auto it = indexes.indexes().crbegin(); it != indexes.indexes().crend(); ++it)
        owner_->removeToManyAt(rel_, *it);
    for (qsizetype k = 0; k < moving.size(); ++k)
        owner_->insertToMany(rel_, moving[k], index + k);
}
