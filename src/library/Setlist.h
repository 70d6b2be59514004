#pragma once

#include "library/ManagedObject.h"

class KeyedUnarchiver;
class ManagedObjectModel;

// A named, dated running order of its own song records.
class Setlist : public ManagedObject {
public:
    using ManagedObject::ManagedObject;

    void awakeFromInsert() override;
    void encodeWithCoder(KeyedArchiver& coder) const override;
    // Deliberately not the mirror of encodeWithCoder: it yields a detached record of the
    // library's Song entity, filled from the archive under the Song attribute names.
    static std::unique_ptr<ManagedObject> initWithCoder(KeyedUnarchiver& coder,
                                                        const ManagedObjectModel& libraryModel);
};
