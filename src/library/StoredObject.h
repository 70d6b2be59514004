#pragma once

#include <QVariant>
#include <utility>
#include <vector>

class EntityDescription;

// One object as the store file holds it, between reading and entering the context.
struct StoredObject {
    const EntityDescription* entity = nullptr;
    quint64 number = 0;
    std::vector<std::pair<int, QVariant>> attributes;
    std::vector<std::pair<int, std::vector<quint64>>> relationships;
};
