#pragma once

#include "platform/IndexSet.h"

#include <QList>
#include <QString>

class ManagedObject;

// The mutable ordered set of a to-many relationship: no element twice, inverse kept in step.
class OrderedRelation {
public:
    OrderedRelation(ManagedObject* owner, int relationship);

    qsizetype count() const;
    ManagedObject* objectAtIndex(qsizetype index) const;        // RangeError when out of range
    qsizetype indexOfObject(const ManagedObject* object) const; // -1 when absent
    const QList<ManagedObject*>& array() const;

    // Inserting an element that is already there does nothing; RangeError past the end.
    void insertObject(ManagedObject* object, qsizetype index);
    void addObject(ManagedObject* object);
    void removeObject(ManagedObject* object);
    void removeObjectAtIndex(qsizetype index);
    // Takes the elements at `indexes` out and puts them back, in order, at `index` of what
    // remains.
    void moveObjectsAtIndexes(const IndexSet& indexes, qsizetype index);

private:
    ManagedObject* owner_;
    int rel_;
};
