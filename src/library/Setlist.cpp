#include "library/Setlist.h"

#include "library/ManagedObjectModel.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"

#include <QDateTime>

void Setlist::awakeFromInsert() {
    setValue("dateCreated", QDateTime::currentDateTimeUtc());
}

void Setlist::encodeWithCoder(KeyedArchiver& coder) const {
    coder.encodeObject(value("dateCreated"), "dateCreated");
    coder.encodeObject(value("name"), "name");
    encodeOrderedRelation(coder, "song");
}

std::unique_ptr<ManagedObject> Setlist::initWithCoder(KeyedUnarchiver& coder,
                                                      const ManagedObjectModel& libraryModel) {
    auto record = std::make_unique<ManagedObject>(libraryModel.entity(u"Song"), nullptr);
    record->decodeAttributes(coder);
    return record;
}
