#include "library/ManagedObjectModel.h"

ManagedObjectModel::ManagedObjectModel() {
    using A = AttributeType;
    entities_.push_back(std::make_unique<EntityDescription>(
        "Song",
        std::vector<AttributeDescription>{{"title", A::String},
                                          {"path", A::String},
                                          {"midiIn", A::Integer32},
                                          {"midiOutEnabled", A::Boolean},
                                          {"midiOutChannel", A::Integer16},
                                          {"midiOutMessageType", A::Integer16},
                                          {"progOrCcNumber", A::Integer16},
                                          {"ccValue", A::Integer16}},
        std::vector<RelationshipDescription>{
            {"setlist", "Setlist", "song", false, false, DeleteRule::Nullify},
            {"midiMessage", "MidiMessage", "song", true, true, DeleteRule::Cascade}}));
    entities_.push_back(std::make_unique<EntityDescription>(
        "Setlist", std::vector<AttributeDescription>{{"name", A::String}, {"dateCreated", A::Date}},
        std::vector<RelationshipDescription>{
            // A setlist owns its song records: they are copies made when songs were dragged in.
            {"song", "Song", "setlist", true, true, DeleteRule::Cascade}}));
    entities_.push_back(std::make_unique<EntityDescription>(
        "MidiMessage",
        std::vector<AttributeDescription>{{"mMmessageType", A::Integer16},
                                          {"mMchannel", A::Integer16},
                                          {"mMprogOrCcNumber", A::Integer16},
                                          {"mMccValue", A::Integer16},
                                          {"mMinterface", A::Integer16},
                                          {"mMinterfaceUniqueID", A::Integer32}},
        std::vector<RelationshipDescription>{
            {"song", "Song", "midiMessage", false, false, DeleteRule::Nullify}}));
}

const ManagedObjectModel& ManagedObjectModel::gigmoraTwo() {
    static const ManagedObjectModel model;
    return model;
}

const EntityDescription* ManagedObjectModel::entity(QStringView name) const {
    for (const auto& e : entities_)
        if (e->name() == name) return e.get();
    return nullptr;
}

const EntityDescription* ManagedObjectModel::entityIgnoringCase(QStringView name) const {
    for (const auto& e : entities_)
        if (QStringView(e->name()).compare(name, Qt::CaseInsensitive) == 0) return e.get();
    return nullptr;
}
