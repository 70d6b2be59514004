#pragma once

#include "library/EntityDescription.h"

#include <QString>
#include <memory>
#include <vector>

// The library's model "GigmoraTwo": Song, Setlist and MidiMessage.
class ManagedObjectModel {
public:
    ManagedObjectModel();
    static const ManagedObjectModel& gigmoraTwo();

    const QString& name() const { return name_; }
    const EntityDescription* entity(QStringView name) const;
    const EntityDescription* entityIgnoringCase(QStringView name) const;
    const std::vector<std::unique_ptr<EntityDescription>>& entities() const { return entities_; }

private:
    QString name_ = QStringLiteral("GigmoraTwo");
    std::vector<std::unique_ptr<EntityDescription>> entities_;
};
