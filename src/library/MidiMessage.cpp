#include "library/MidiMessage.h"

#include "library/ManagedObjectModel.h"

std::unique_ptr<MidiMessage> MidiMessage::initWithCoder(KeyedUnarchiver& coder) {
    auto m = std::make_unique<MidiMessage>(ManagedObjectModel::gigmoraTwo().entity(u"MidiMessage"),
                                           nullptr);
    m->decodeAttributes(coder);
    return m;
}
