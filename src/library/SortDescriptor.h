#pragma once

#include <QList>
#include <QString>

class ManagedObject;

struct SortDescriptor {
    QString key;
    bool ascending = true;
};

// Orders by each descriptor in turn; absent values come first ascending, last descending.
// Returns <0, 0 or >0.
int compareBySortDescriptors(const ManagedObject& a, const ManagedObject& b,
                             const QList<SortDescriptor>& descriptors);
// Stable, so equal records keep their store order.
void sortBySortDescriptors(QList<ManagedObject*>& objects,
                           const QList<SortDescriptor>& descriptors);
