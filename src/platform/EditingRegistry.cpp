#include "platform/EditingRegistry.h"

#include <QHash>
#include <QObject>

namespace {
QHash<QObject*, EditingRegistry::Commit>& editors() {
    static QHash<QObject*, EditingRegistry::Commit> all;
    return all;
}
} // namespace

void EditingRegistry::add(QObject* owner, Commit commit) {
    editors().insert(owner, std::move(commit));
}

void EditingRegistry::remove(QObject* owner) {
    editors().remove(owner);
}

bool EditingRegistry::commitAll() {
    bool ok = true;
    const auto all = editors(); // a commit may add or remove views
    for (const auto& commit : all)
        ok = commit() && ok;
    return ok;
}
