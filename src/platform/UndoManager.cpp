#include "platform/UndoManager.h"

#include "platform/MainQueue.h"

#include <QCoreApplication>
#include <memory>

void UndoManager::registerUndo(Action inverse) {
    if (!enabled_) return;
    if (recording_) {
        recording_->push_back(std::move(inverse));
        return;
    }
    open_.push_back(std::move(inverse));
    redo_.clear();
    if (!closeQueued_ && QCoreApplication::instance()) {
        closeQueued_ = true;
        // The manager outlives the event loop turn in every owner; a weak flag keeps it safe.
        MainQueue::async([this, alive = std::weak_ptr<int>(alive_)] {
            if (!alive.expired()) closeGroup();
        });
    }
}

void UndoManager::closeGroup() {
    closeQueued_ = false;
    if (!open_.empty()) undo_.push_back(std::move(open_));
    open_.clear();
}

void UndoManager::run(Group group, std::vector<Group>& target) {
    Group inverse;
    recording_ = &inverse;
    for (auto it = group.rbegin(); it != group.rend(); ++it)
        (*it)();
    recording_ = nullptr;
    if (!inverse.empty()) target.push_back(std::move(inverse));
}

void UndoManager::undo() {
    closeGroup();
    if (undo_.empty()) return;
    Group g = std::move(undo_.back());
    undo_.pop_back();
    run(std::move(g), redo_);
}

void UndoManager::redo() {
    closeGroup();
    if (redo_.empty()) return;
    Group g = std::move(redo_.back());
    redo_.pop_back();
    run(std::move(g), undo_);
}

void UndoManager::removeAllActions() {
    undo_.clear();
    redo_.clear();
    open_.clear();
}
