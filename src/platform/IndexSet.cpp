#include "platform/IndexSet.h"

#include <algorithm>

IndexSet::IndexSet(std::initializer_list<qsizetype> indexes) {
    for (auto i : indexes)
        add(i);
}

void IndexSet::add(qsizetype index) {
    auto it = std::lower_bound(indexes_.begin(), indexes_.end(), index);
    if (it == indexes_.end() || *it != index) indexes_.insert(it, index);
}

bool IndexSet::contains(qsizetype index) const {
    return std::binary_search(indexes_.begin(), indexes_.end(), index);
}
