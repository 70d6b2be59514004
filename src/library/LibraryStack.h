#pragma once

#include "library/SortDescriptor.h"

#include <QString>
#include <memory>

class ManagedObjectModel;
class ObjectContext;
class PersistentStore;
class Alerts;
class UndoManager;
struct Error;

// The library's store, built lazily and never rebuilt once built, with the Save command and
// the rule for quitting with unsaved changes.
class LibraryStack {
public:
    enum class TerminateReply { TerminateNow, TerminateCancel };

    explicit LibraryStack(Alerts* alerts = nullptr);
    ~LibraryStack();

    // Application data folder + "com.vantori.Gigmora"; not created here.
    static QString applicationDocumentsDirectory();
    static QString storeFileName() { return QStringLiteral("OSXCoreDataObjC.storedata"); }

    const ManagedObjectModel& managedObjectModel() const;
    // nullptr after a failure, which is presented; every later call tries again.
    PersistentStore* persistentStoreCoordinator();
    ObjectContext* managedObjectContext();
    bool hasContext() const { return context_ != nullptr; }

    void saveAction();
    TerminateReply applicationShouldTerminate();
    UndoManager* windowWillReturnUndoManager();

    static QList<SortDescriptor> allSongsSortDescriptor() { return {{"midiIn", true}}; }
    static QList<SortDescriptor> allSetlistsSortDescriptor() { return {{"name", true}}; }

    // Opens the store at the standard place without creating anything and without alerts.
    static std::unique_ptr<PersistentStore> openReadOnly(Error* error);
    // The 9999 error that says the library could not be opened.
    static Error initializationError(const QString& reason, const Error* underlying);

private:
    Alerts& alerts() const;

    Alerts* alerts_;
    std::unique_ptr<PersistentStore> store_;
    std::unique_ptr<ObjectContext> context_;
};
