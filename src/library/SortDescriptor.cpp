#include "library/SortDescriptor.h"

#include "library/ManagedObject.h"

#include <QDateTime>
#include <algorithm>

namespace {
int compareSortValues(const QVariant& a, const QVariant& b) {
    const bool an = !a.isValid() || a.isNull(), bn = !b.isValid() || b.isNull();
    if (an || bn) return an == bn ? 0 : (an ? -1 : 1);
    switch (a.typeId()) {
    case QMetaType::QString:
        return a.toString().compare(b.toString());
    case QMetaType::QDateTime:
        return a.toDateTime() < b.toDateTime() ? -1 : (b.toDateTime() < a.toDateTime() ? 1 : 0);
    default: {
        const double x = a.toDouble(), y = b.toDouble();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    }
}
} // namespace

int compareBySortDescriptors(const ManagedObject& a, const ManagedObject& b,
                             const QList<SortDescriptor>& descriptors) {
    for (const auto& d : descriptors) {
        int c = compareSortValues(a.value(d.key), b.value(d.key));
        if (c != 0) return d.ascending ? c : -c;
    }
    return 0;
}

void sortBySortDescriptors(QList<ManagedObject*>& objects,
                           const QList<SortDescriptor>& descriptors) {
    if (descriptors.isEmpty()) return;
    std::stable_sort(objects.begin(), objects.end(), [&](ManagedObject* a, ManagedObject* b) {
        return compareBySortDescriptors(*a, *b, descriptors) < 0;
    });
}
