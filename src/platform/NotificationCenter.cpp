#include "platform/NotificationCenter.h"

#include "platform/Guard.h"

NotificationCenter& NotificationCenter::defaultCenter() {
    static NotificationCenter center;
    return center;
}

void NotificationCenter::addObserver(QObject* receiver, const QString& name, Handler handler) {
    observers_[name].push_back({receiver, std::move(handler)});
}

void NotificationCenter::removeObserver(QObject* receiver) {
    for (auto& list : observers_)
        std::erase_if(list, [&](const Entry& e) { return e.receiver == receiver; });
}

void NotificationCenter::post(const QString& name, QObject* object) {
    auto it = observers_.find(name);
    if (it == observers_.end()) return;
    std::erase_if(*it, [](const Entry& e) { return e.receiver.isNull(); });
    // A handler may add or remove observers; work on a copy.
    const auto entries = *it;
    const Notification n{name, object};
    for (const auto& e : entries)
        if (!e.receiver.isNull()) guarded(qPrintable(name), [&] { e.handler(n); });
}

int NotificationCenter::observerCount(const QString& name) const {
    auto it = observers_.constFind(name);
    if (it == observers_.constEnd()) return 0;
    int n = 0;
    for (const auto& e : *it)
        n += e.receiver.isNull() ? 0 : 1;
    return n;
}
