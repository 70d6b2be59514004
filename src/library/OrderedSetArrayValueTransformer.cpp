#include "library/OrderedSetArrayValueTransformer.h"

#include <QSet>

QList<ManagedObject*>
OrderedSetArrayValueTransformer::transformedValue(const QList<ManagedObject*>& orderedSet) {
    return orderedSet;
}

QList<ManagedObject*>
OrderedSetArrayValueTransformer::reverseTransformedValue(const QList<ManagedObject*>& array) {
    QList<ManagedObject*> out;
    QSet<ManagedObject*> seen;
    for (auto* o : array)
        if (!seen.contains(o)) {
            seen.insert(o);
            out.append(o);
        }
    return out;
}
