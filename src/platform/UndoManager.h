#pragma once

#include <functional>
#include <memory>
#include <vector>

// Undo and redo of grouped changes. Each change registers its inverse; while undoing, the
// inverses register theirs again, which become the redo group. A group closes at the end of
// the current event-loop turn, so one user action is one undo step.
class UndoManager {
public:
    using Action = std::function<void()>;

    void registerUndo(Action inverse);
    bool canUndo() const { return !undo_.empty() || !open_.empty(); }
    bool canRedo() const { return !redo_.empty(); }
    void undo();
    void redo();
    void closeGroup();
    void removeAllActions();
    bool isUndoRegistrationEnabled() const { return enabled_; }
    void setUndoRegistrationEnabled(bool on) { enabled_ = on; }

private:
    using Group = std::vector<Action>;
    void run(Group group, std::vector<Group>& target);

    std::vector<Group> undo_, redo_;
    Group open_;
    Group* recording_ = nullptr; // while undoing or redoing
    bool closeQueued_ = false;
    bool enabled_ = true;
    std::shared_ptr<int> alive_ = std::make_shared<int>(0);
};
