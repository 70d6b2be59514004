#include "library/SortDescriptor.h"

#include "library/ManagedObject.h"

#include <QDateTime>
#include <algorithm>
#include <vector>

namespace {
int compareSortValues(const QVariant& a, const QVariant& b) {
    const bool an = !a.isValid() || a.isNull(), bn = !b.isValid() || b.isNull();
    if (an || bn) return an == bn ? 0 : (an ? -1 : 1);
    switch (a.typeId()) {
    case QMetaType::LongLong:
        if (b.typeId() == QMetaType::LongLong) {
            const qlonglong x = *static_cast<const qlonglong*>(a.constData());
            const qlonglong y = *static_cast<const qlonglong*>(b.constData());
            return x < y ? -1 : (x > y ? 1 : 0);
        }
        break;
    case QMetaType::QString:
        return a.toString().compare(b.toString());
    case QMetaType::QDateTime:
        return a.toDateTime() < b.toDateTime() ? -1 : (b.toDateTime() < a.toDateTime() ? 1 : 0);
    default:
        break;
    }
    const double x = a.toDouble(), y = b.toDouble();
    return x < y ? -1 : (x > y ? 1 : 0);
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
    // Each record's keys are looked up once, not at every comparison; whole numbers, the
    // common key, compare without going through QVariant.
    struct Key {
        bool integer;
        qlonglong number;
        QVariant value;
    };
    const qsizetype width = descriptors.size();
    std::vector<Key> keys;
    keys.reserve(size_t(objects.size() * width));
    for (const ManagedObject* o : objects)
        for (const auto& d : descriptors) {
            QVariant v = o->value(d.key);
            const bool integer = v.typeId() == QMetaType::LongLong;
            keys.push_back({integer, integer ? v.toLongLong() : 0, integer ? QVariant() : v});
        }
    auto compareKeys = [](const Key& a, const Key& b) {
        if (a.integer && b.integer) return a.number < b.number ? -1 : (a.number > b.number ? 1 : 0);
        return compareSortValues(a.integer ? QVariant(a.number) : a.value,
                                 b.integer ? QVariant(b.number) : b.value);
    };
    std::vector<qsizetype> order(size_t(objects.size()));
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = qsizetype(i);
    std::stable_sort(order.begin(), order.end(), [&](qsizetype a, qsizetype b) {
        for (qsizetype k = 0; k < width; ++k) {
            const int c = compareKeys(keys[size_t(a * width + k)], keys[size_t(b * width + k)]);
            if (c != 0) return (descriptors[k].ascending ? c : -c) < 0;
        }
        return false;
    });
    QList<ManagedObject*> sorted;
    sorted.reserve(objects.size());
    for (qsizetype i : order)
        sorted.append(objects[i]);
    objects = std::move(sorted);
}
