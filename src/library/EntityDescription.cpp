#include "library/EntityDescription.h"

EntityDescription::EntityDescription(QString name, std::vector<AttributeDescription> attributes,
                                     std::vector<RelationshipDescription> relationships)
    : name_(std::move(name)), attributes_(std::move(attributes)),
      relationships_(std::move(relationships)) {}

namespace {
template <typename List> int find(const List& list, QStringView key, Qt::CaseSensitivity cs) {
    for (size_t i = 0; i < list.size(); ++i)
        if (QStringView(list[i].name).compare(key, cs) == 0) return static_cast<int>(i);
    return -1;
}
} // namespace

int EntityDescription::attributeIndex(QStringView key) const {
    return find(attributes_, key, Qt::CaseSensitive);
}
int EntityDescription::relationshipIndex(QStringView key) const {
    return find(relationships_, key, Qt::CaseSensitive);
}
int EntityDescription::attributeIndexIgnoringCase(QStringView key) const {
    return find(attributes_, key, Qt::CaseInsensitive);
}
int EntityDescription::relationshipIndexIgnoringCase(QStringView key) const {
    return find(relationships_, key, Qt::CaseInsensitive);
}
