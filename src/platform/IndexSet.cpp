#include "platform/IndexSet.h"

#include <algorithm>

IndexSet::IndexSet(std::initializer_list<qsizetype> indexes) {
    for (auto i : indexes)
        add(i);
}

IndexSet IndexSet::fromIndexes(std::vector<qsizetype> indexes) {
    std::sort(indexes.begin(), indexes.end());
    indexes.erase(std::unique(indexes.begin(), indexes.end()), indexes.end());
    IndexSet set;
    set.indexes_ = QList<qsizetype>(indexes.begin(), indexes.end());
    return set;
}

void IndexSet::add(qsizetype index) {
    auto it = std::lower_bound(indexes_.begin(), indexes_.end(), index);
    if (it == indexes_.end() || *it != index) indexes_.insert(it, index);
}

bool IndexSet::contains(qsizetype index) const {
    return std::binary_search(indexes_.begin(), indexes_.end(), index);
}
