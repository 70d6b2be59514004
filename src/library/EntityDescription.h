#pragma once

#include <QString>
#include <vector>

enum class AttributeType { Integer16, Integer32, Integer64, Boolean, Float, Double, String, Date };

struct AttributeDescription {
    QString name;
    AttributeType type;
};

enum class DeleteRule { Nullify, Cascade };

struct RelationshipDescription {
    QString name;
    QString destination;
    QString inverse;
    bool toMany = false;
    bool ordered = false;
    DeleteRule deleteRule = DeleteRule::Nullify;
};

// One entity of the model: attributes in declared order, relationships with their inverses.
class EntityDescription {
public:
    EntityDescription(QString name, std::vector<AttributeDescription> attributes,
                      std::vector<RelationshipDescription> relationships);

    const QString& name() const { return name_; }
    const std::vector<AttributeDescription>& attributes() const { return attributes_; }
    const std::vector<RelationshipDescription>& relationships() const { return relationships_; }
    int attributeIndex(QStringView key) const;
    int relationshipIndex(QStringView key) const;
    // The store file spells property names in lower case.
    int attributeIndexIgnoringCase(QStringView key) const;
    int relationshipIndexIgnoringCase(QStringView key) const;

private:
    QString name_;
    std::vector<AttributeDescription> attributes_;
    std::vector<RelationshipDescription> relationships_;
};
