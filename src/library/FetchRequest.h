#pragma once

#include "library/Predicate.h"
#include "library/SortDescriptor.h"

struct FetchRequest {
    QString entityName;
    Predicate predicate;
    QList<SortDescriptor> sortDescriptors;
    qsizetype fetchLimit = 0; // 0: no limit
};
