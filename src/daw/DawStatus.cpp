#include "daw/DawStatus.h"

QString DawStatus::name(Phase phase) {
    switch (phase) {
    case Phase::Off:
        return QStringLiteral("off");
    case Phase::Starting:
        return QStringLiteral("starting");
    case Phase::Ready:
        return QStringLiteral("ready");
    case Phase::Loading:
        return QStringLiteral("loading");
    case Phase::Loaded:
        return QStringLiteral("loaded");
    case Phase::Asking:
        return QStringLiteral("asking");
    case Phase::Stopped:
        return QStringLiteral("stopped");
    case Phase::Failed:
        return QStringLiteral("failed");
    }
    return {};
}

QString DawStatus::name(Reason reason) {
    switch (reason) {
    case Reason::None:
        return {};
    case Reason::NoSession:
        return QStringLiteral("no-session");
    case Reason::CannotListen:
        return QStringLiteral("cannot-listen");
    case Reason::CannotStart:
        return QStringLiteral("cannot-start");
    case Reason::Refused:
        return QStringLiteral("refused");
    case Reason::NoAnswer:
        return QStringLiteral("no-answer");
    case Reason::Dialog:
        return QStringLiteral("dialog");
    case Reason::Quit:
        return QStringLiteral("quit");
    case Reason::KeepsStopping:
        return QStringLiteral("keeps-stopping");
    case Reason::EndingOld:
        return QStringLiteral("ending-old");
    }
    return {};
}
