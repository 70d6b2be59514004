#include "daw/StagePlan.h"

#include <QDir>

QString StagePlan::current() const {
    if (order.isEmpty() || at >= order.size()) return {};
    return order.at(at < 0 ? 0 : at);
}

QString StagePlan::after(const QString& song) const {
    if (song.isEmpty()) return {};
    const QString clean = QDir::cleanPath(song);
    if (at >= 0 && at < order.size() && order.at(at) == clean) return order.value(rowAfter(at));
    const int first = int(order.indexOf(clean));
    return first < 0 ? QString() : order.value(rowAfter(first));
}
