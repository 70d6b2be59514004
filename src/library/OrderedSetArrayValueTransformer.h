#pragma once

#include <QList>

class ManagedObject;

// Shows an ordered to-many relationship as a plain list, and turns a list back into an
// ordered set (a repeated element stays only at its first place).
class OrderedSetArrayValueTransformer {
public:
    static bool allowsReverseTransformation() { return true; }
    static QList<ManagedObject*> transformedValue(const QList<ManagedObject*>& orderedSet);
    static QList<ManagedObject*> reverseTransformedValue(const QList<ManagedObject*>& array);
};
