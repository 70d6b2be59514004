#include "performance/SongRecall.h"

#include "daw/DawControl.h"
#include "library/ArrayController.h"
#include "library/FetchRequest.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/ProjectKind.h"
#include "midi/MainMidi.h"
#include "midi/SongOutput.h"
#include "performance/StagePosition.h"
#include "platform/MainQueue.h"
#include "platform/NotificationCenter.h"
#include "platform/RangeError.h"
#include "platform/TableView.h"
#include "platform/Workspace.h"
#include "settings/Prefs.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

namespace {
// The song at `index`; outside the list the recall ends there (nullptr).
ManagedObject* songAt(const QList<ManagedObject*>& songs, qsizetype index) {
    ManagedObject* const* song = RangeError::atOrEnd(songs, index);
    return song ? *song : nullptr;
}
} // namespace

SongRecall::SongRecall(const Dependencies& d, QObject* parent)
    : QObject(parent), setlistTableView(d.setlistTableView), position(d.position),
      aSongsTableView(d.aSongsTableView), notificationSender(d.notificationSender),
      mainMidiObject(d.mainMidiObject), sharedPrefs(d.sharedPrefs), context(d.context),
      returnFilteredArray(d.returnFilteredArray), window(d.window), daw(d.daw) {}

qint64 SongRecall::waitingFlag() const {
    return waitingMidiMessage && !waitingMidiMessage->isEmpty()
               ? waitingMidiMessage->first().toLongLong()
               : 0;
}

ArrayController* SongRecall::currentSetlistController() const {
    if (!setlistTableView) return nullptr;
    return qobject_cast<ArrayController*>(
        setlistTableView->infoForBinding("content").observedObject);
}

bool SongRecall::isProject(const QVariant& path) const {
    const ProjectKind& kind = daw ? daw->projectKind() : ProjectKind::logicProjects();
    return kind.isProject(path.toString());
}

void SongRecall::redisplay() {
    if (window) window->update(); // the main view and the mode views in it
}

void SongRecall::closeAndScheduleOpening() {
    if (mainMidiObject) mainMidiObject->sendLogicClose();
    mainThreadOpenLogicFile(controllerFileToOpen);
}

bool SongRecall::runMyScriptInController() {
    ArrayController* controller = currentSetlistController();
    if (!controller || !setlistTableView || !position) return false;
    const int r = position->row();
    const int next = position->nextRow();
    if (next >= 0) {
        MainQueue::async([self = QPointer<SongRecall>(this), next] {
            if (!self || !self->position || !self->setlistTableView) return;
            self->position->select(next);
            self->setlistTableView->scrollRowToVisible(next);
        });
    }
    NotificationCenter::defaultCenter().post("ProgChangeNumber", notificationSender);
    const QList<ManagedObject*> songs = controller->arrangedObjects();
    ManagedObject* song = songAt(songs, next >= 0 ? next : r); // no wrap-around: the last re-opens
    if (!song) return false;
    controllerFileToOpen = song->value("path");
    if (isProject(controllerFileToOpen)) {
        closeAndScheduleOpening();
        selectedScript = QVariant();
        sendSongMessages(*song);
    }
    return true;
}

bool SongRecall::reverseMyScriptInController() {
    ArrayController* controller = currentSetlistController();
    if (!controller || !setlistTableView || !position) return false;
    // No guard for the first row, by design: the row before it ends the recall.
    if (!position->select(position->row() - 1)) return false;
    setlistTableView->reloadData();
    redisplay();
    NotificationCenter::defaultCenter().post("ProgChangeNumber", notificationSender);
    ManagedObject* song = songAt(controller->arrangedObjects(), position->row());
    if (!song) return false;
    controllerFileToOpen = song->value("path");
    if (isProject(controllerFileToOpen)) {
        closeAndScheduleOpening();
        sendSongMessages(*song);
    }
    return true;
}

bool SongRecall::runMyScriptUsingProgChangeInController() {
    if (!context) return false;
    const QList<ManagedObject*> matches = context->executeFetchRequest(
        {"Song", Predicate::withFormat("midiIn == %@", {kAsNumber}), {}, 0});
    if (matches.isEmpty() || !returnFilteredArray) return false;
    const QList<ManagedObject*> filtered = returnFilteredArray();
    for (ManagedObject* match : matches) {
        const qsizetype p = filtered.indexOf(match);
        if (p < 0) continue; // a setlist copy of a project the list shows through another record
        MainQueue::async([self = QPointer<SongRecall>(this), p] {
            if (!self || !self->aSongsTableView) return;
            self->aSongsTableView->selectRowIndexes({p}, false);
            self->aSongsTableView->reloadData();
            self->redisplay();
        });
        // The entry at the list's current selection; with none this fails and ends the recall.
        if (!songAt(filtered, aSongsTableView ? aSongsTableView->selectedRow() : -1)) return false;
        ManagedObject* first = matches.first();
        controllerFileToOpen = first->value("path");
        if (isProject(controllerFileToOpen)) {
            if (mainMidiObject) mainMidiObject->sendLogicClose();
            selectedScript = QVariant();
            mainThreadOpenLogicFile(controllerFileToOpen);
            sendSongMessages(*first);
        }
    }
    return true;
}

void SongRecall::goToLogicProject() {
    ArrayController* controller = currentSetlistController();
    if (!controller || !position) return;
    const int r = position->row();
    if (r < 0) return;
    ManagedObject* song = songAt(controller->arrangedObjects(), r);
    controllerFileToOpen = song->value("path");
    if (isProject(controllerFileToOpen)) {
        closeAndScheduleOpening();
        sendSongMessages(*song);
    }
}

void SongRecall::sendSongMessages(const ManagedObject& song) {
    // Off unless asked for: then the song output does not exist.
    if (mainMidiObject && mainMidiObject->songOutput()) mainMidiObject->songOutput()->send(song);
}

void SongRecall::mainThreadOpenLogicFile(const QVariant&) {
    // The delay gives a DAW time to close its song; a standby DAW holding the next one ready
    // needs none.
    const bool swaps = daw && daw->swapsAtOnce(controllerFileToOpen.toString());
    const double delay =
        sharedPrefs && !swaps ? static_cast<double>(sharedPrefs->prefsSelectedDAWDelay) : 0.0;
    MainQueue::after(delay, [self = QPointer<SongRecall>(this)] {
        if (self) self->openLogicFile(self->controllerFileToOpen);
    });
}

void SongRecall::openWithDaw() {
    const QString path = controllerFileToOpen.toString();
    const bool started = daw && daw->managesSessions() ? daw->openSession(path)
                                                       : Workspace::openFile(path, kApplication);
    emit projectOpenRequested(path, started);
    kAsNumber = 0;
    if (waitingMidiMessage && !waitingMidiMessage->isEmpty()) (*waitingMidiMessage)[0] = kAsNumber;
    controllerFileToOpen = kBlank;
}

void SongRecall::openLogicFile(const QVariant&) {
    // Both settings values mean the same DAW; each is checked on its own on purpose.
    if (sharedPrefs && sharedPrefs->prefsSelectedDAW.toInt() == 1) openWithDaw();
    if (sharedPrefs && sharedPrefs->prefsSelectedDAW.toInt() == 0) openWithDaw();
}

QPoint SongRecall::topRightOrigin(const QRect& visibleArea, const QSize& windowSize) {
    return {visibleArea.x() + visibleArea.width() - windowSize.width(), visibleArea.y()};
}

void SongRecall::setWindowPosition() {
    QScreen* screen = window ? window->screen() : QGuiApplication::primaryScreen();
    const QRect visible = screen ? screen->availableGeometry() : QRect(0, 0, 0, 0);
    if (!window) return;
    window->move(topRightOrigin(visible, window->frameGeometry().size()));
}
