#pragma once

#include "library/ManagedObject.h"

class KeyedUnarchiver;

// A song of the library: one project file with the number that recalls it.
class Song : public ManagedObject {
public:
    using ManagedObject::ManagedObject;

    void encodeWithCoder(KeyedArchiver& coder) const override;
    // A bare copy of the ten archived values, attached to no context.
    static std::unique_ptr<Song> initWithCoder(KeyedUnarchiver& coder);
};
