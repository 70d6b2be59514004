#include "library/ManagedObject.h"
#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/TransferRecords.h"
#include "settings/Storage.h"

#include <QCoreApplication>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// The settings file, a keyed binary property list, as anything may have left it. Whatever
// reads from it is written back by the next save and must read back the same. Drag payloads
// from other programs go through the same reader and are read here too.
namespace {
ObjectContext* library = nullptr;

bool sameFloat(float a, float b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

bool same(const QVariant& a, const QVariant& b) {
    if (a.typeId() != b.typeId()) return false;
    if (a.typeId() == QMetaType::Double && std::isnan(a.toDouble()))
        return std::isnan(b.toDouble());
    return a == b;
}

bool same(const Storage& a, const Storage& b) {
    return same(a.storageSelectedMidiDevice, b.storageSelectedMidiDevice) &&
           same(a.storageSelectedMidiOutDevice, b.storageSelectedMidiOutDevice) &&
           same(a.storageSelectedMidiChannel, b.storageSelectedMidiChannel) &&
           same(a.storageSelectedDAW, b.storageSelectedDAW) &&
           sameFloat(a.storageSelectedDAWDelay, b.storageSelectedDAWDelay) &&
           sameFloat(a.storageBackupDelay, b.storageBackupDelay) &&
           a.storageSelectedMidiDeviceUniqueID == b.storageSelectedMidiDeviceUniqueID &&
           a.storageSelectedMidiDeviceDestinationUniqueID ==
               b.storageSelectedMidiDeviceDestinationUniqueID &&
           a.storageCreateVirtualPort == b.storageCreateVirtualPort &&
           a.storageSpacebarMidiTrigger == b.storageSpacebarMidiTrigger &&
           same(a.storageSelectedSpacebarMidiDevice, b.storageSelectedSpacebarMidiDevice) &&
           a.storageSelectedSpacebarMidiDeviceUniqueID ==
               b.storageSelectedSpacebarMidiDeviceUniqueID &&
           same(a.storageSelectedSpacebarMidiNote, b.storageSelectedSpacebarMidiNote) &&
           same(a.storageSelectedSpacebarMidiChannel, b.storageSelectedSpacebarMidiChannel) &&
           a.storageActive == b.storageActive &&
           a.storageForceSysEventsRequest == b.storageForceSysEventsRequest;
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    static int argc = 1;
    static char name[] = "fuzz_settings_plist";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    // Songs for a dropped payload's URIs to resolve to.
    library = new ObjectContext(ManagedObjectModel::gigmoraTwo());
    for (const char* title : {"Intro", "Ballad"})
        library->insertNewObject("Song")->setValue("title", QString::fromLatin1(title));
    QCoreApplication::sendPostedEvents();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const Storage read = Storage::fromFileData(bytes);
    const QByteArray written = read.fileData();
    if (!same(Storage::fromFileData(written), read)) {
        std::fprintf(stderr, "the settings read from this file do not survive a save\n");
        std::abort();
    }
    TransferRecords::rowIndexesFromPayload(bytes);
    TransferRecords::songsFromPayload(bytes, *library);
    return 0;
}
