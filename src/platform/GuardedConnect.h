#pragma once

#include "platform/Guard.h"

#include <QObject>

// Connects a Qt signal to an action that runs inside the guard, named for its log line. The
// action takes no arguments: what it needs it reads from the sender or its own state.
template <typename Sender, typename Signal, typename F>
QMetaObject::Connection guardedConnect(Sender* sender, Signal signal, const QObject* context,
                                       const char* name, F action) {
    return QObject::connect(sender, signal, context, [name, action] { guarded(name, action); });
}
