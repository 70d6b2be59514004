#include "library/LibraryStack.h"

#include "library/ManagedObjectModel.h"
#include "library/ObjectContext.h"
#include "library/PersistentStore.h"
#include "platform/Alerts.h"
#include "platform/Error.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <optional>

namespace {
QString localized(const char* key) {
    return QCoreApplication::translate("", key);
}
const char kLoadReason[] = "There was an error creating or loading the application's saved data.";
} // namespace

LibraryStack::LibraryStack(Alerts* alerts) : alerts_(alerts) {}
LibraryStack::~LibraryStack() = default;

Alerts& LibraryStack::alerts() const {
    return alerts_ ? *alerts_ : Alerts::shared();
}

QString LibraryStack::applicationDocumentsDirectory() {
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation))
        .filePath(QStringLiteral("com.vantori.Gigmora"));
}

const ManagedObjectModel& LibraryStack::managedObjectModel() const {
    return ManagedObjectModel::gigmoraTwo();
}

Error LibraryStack::initializationError(const QString& reason, const Error* underlying) {
    Error e{"YOUR_ERROR_DOMAIN", 9999, "Failed to initialize the application's saved data", reason,
            nullptr};
    if (underlying) e.underlying = std::make_shared<Error>(*underlying);
    return e;
}

PersistentStore* LibraryStack::persistentStoreCoordinator() {
    if (store_) return store_.get();
    const QString folder = applicationDocumentsDirectory();
    QFileInfo info(folder);
    QString reason;
    std::optional<Error> underlying;
    if (info.exists() && !info.isDir()) {
        reason = QStringLiteral("Expected a folder to store application data, found a file (%1).")
                     .arg(folder);
    } else if (!info.exists() && !QDir().mkpath(folder)) {
        reason = kLoadReason;
        underlying =
            Error{"NSCocoaErrorDomain", 513, "The folder could not be created.", folder, nullptr};
    } else {
        Error openError;
        store_ = PersistentStore::open(managedObjectModel(), QDir(folder).filePath(storeFileName()),
                                       &openError);
        if (store_) return store_.get();
        reason = kLoadReason;
        underlying = openError;
    }
    alerts().presentError(initializationError(reason, underlying ? &*underlying : nullptr));
    return nullptr;
}

ObjectContext* LibraryStack::managedObjectContext() {
    if (context_) return context_.get();
    PersistentStore* store = persistentStoreCoordinator();
    if (!store) return nullptr;
    context_ = std::make_unique<ObjectContext>(managedObjectModel(), store);
    return context_.get();
}

UndoManager* LibraryStack::windowWillReturnUndoManager() {
    ObjectContext* c = managedObjectContext();
    return c ? c->undoManager() : nullptr;
}

void LibraryStack::saveAction() {
    ObjectContext* c = managedObjectContext();
    if (!c) return;
    c->commitEditing();
    Error error;
    if (c->hasChanges() && !c->save(&error)) alerts().presentError(error);
}

LibraryStack::TerminateReply LibraryStack::applicationShouldTerminate() {
    if (!context_) return TerminateReply::TerminateNow;
    if (!context_->commitEditing()) return TerminateReply::TerminateCancel;
    if (!context_->hasChanges()) return TerminateReply::TerminateNow;
    Error error;
    if (context_->save(&error)) return TerminateReply::TerminateNow;
    if (alerts().presentError(error)) return TerminateReply::TerminateCancel;
    AlertSpec alert;
    alert.messageText = localized("Could not save changes while quitting. Quit anyway?");
    alert.informativeText = localized(
        "Quitting now will lose any changes you have made since the last successful save");
    alert.buttons = {localized("Quit anyway"), localized("Cancel")};
    // The first button keeps the application running and "Cancel" quits: reversed on purpose,
    // and musicians who know the alert rely on it.
    if (alerts().runModal(alert) == Alerts::FirstButton) return TerminateReply::TerminateCancel;
    return TerminateReply::TerminateNow;
}

std::unique_ptr<PersistentStore> LibraryStack::openReadOnly(Error* error) {
    const QString folder = applicationDocumentsDirectory();
    QFileInfo info(folder);
    if (info.exists() && !info.isDir()) {
        if (error)
            *error = initializationError(
                QStringLiteral("Expected a folder to store application data, found a file (%1).")
                    .arg(folder),
                nullptr);
        return nullptr;
    }
    Error openError;
    auto store = PersistentStore::open(ManagedObjectModel::gigmoraTwo(),
                                       QDir(folder).filePath(storeFileName()), &openError);
    if (!store && error) *error = initializationError(kLoadReason, &openError);
    return store;
}
