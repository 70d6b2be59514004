#include "daw/SessionPlan.h"

#include "daw/DawLog.h"

#include <QFileInfo>

using Kind = SessionPlan::Command::Kind;
using Phase = DawStatus::Phase;
using Reason = DawStatus::Reason;

QString SessionPlan::songName(const QString& path) {
    return QFileInfo(path).fileName();
}

void SessionPlan::say(const QString& text, Phase phase, const QString& song, Reason reason,
                      int code) {
    DawStatus status{phase, songName(song), reason, code, songName(stuck_)};
    if (!notice_.isEmpty() && reason == Reason::None) status.reason = noticeReason_;
    const QString said = notice_.isEmpty() || text.startsWith(notice_)
                             ? text
                             : notice_ + QStringLiteral(" · ") + text;
    if (said == text_ && status == status_) return;
    text_ = said;
    status_ = status;
    add(Kind::Status, {}, said);
}

void SessionPlan::setLoaded(qint64 ms) {
    if (placeholderLoaded())
        say(QStringLiteral("%1 ready, no song loaded").arg(settings_.name), Phase::Ready);
    else if (ms < 0)
        say(QStringLiteral("%1 loaded (%2 kept playing)").arg(songName(loaded_), settings_.name),
            Phase::Loaded, loaded_);
    else if (settings_.reportsFailures)
        say(QStringLiteral("%1 loaded (%2 s)").arg(songName(loaded_)).arg(ms / 1000.0, 0, 'f', 1),
            Phase::Loaded, loaded_);
    else
        say(QStringLiteral("%1 loaded (%2 s; assumed: %3 reports no failed load)")
                .arg(songName(loaded_))
                .arg(ms / 1000.0, 0, 'f', 1)
                .arg(settings_.programName),
            Phase::Loaded, loaded_);
}

void SessionPlan::launch() {
    if (!settings_.canLaunch) return;
    process_ = true;
    up_ = false;
    say(QStringLiteral("Starting %1…").arg(settings_.name), Phase::Starting);
    add(Kind::Launch);
}

SessionPlan::Commands SessionPlan::start(qint64) {
    if (!process_ && !quitting_) launch();
    return take();
}

SessionPlan::Commands SessionPlan::notStarted(Reason reason) {
    process_ = false;
    up_ = false;
    say(reason == Reason::CannotListen
            ? QStringLiteral("The session manager cannot listen")
            : QStringLiteral("%1 could not be started").arg(settings_.name),
        Phase::Failed, {}, reason);
    return take();
}

SessionPlan::Commands SessionPlan::endingOld() {
    say(QStringLiteral("Ending the %1 left running…").arg(settings_.name), Phase::Starting, {},
        Reason::EndingOld);
    return take();
}

SessionPlan::Commands SessionPlan::open(const QString& path, bool isSession, qint64 now) {
    givenUp_ = false; // a new song asked for: the DAW gets another chance
    stuck_.clear();   // and a song it could not load, another try
    notice_.clear();
    noticeReason_ = Reason::None;
    if (!isSession) {
        qCWarning(lcDaw).noquote() << "No session folder at" << path << "; nothing is opened.";
        say(QStringLiteral("No session at %1").arg(songName(path)), Phase::Failed, path,
            Reason::NoSession);
        return take();
    }
    // Timed from the request (the recall's opening) to the DAW's answer.
    clockStart_ = now;
    clockFor_ = path;
    if (!process_ && !quitting_) launch();
    if (!loading_.isEmpty() || !up_)
        waiting_ = path; // only the latest waits
    else
        serve(path, now);
    return take();
}

QString SessionPlan::songToOpen(const QString& stageSong) const {
    return stageSong.isEmpty() || stageSong == stuck_ ? settings_.placeholder : stageSong;
}

SessionPlan::Commands SessionPlan::tookOver(const QString& loaded, bool canSwitch,
                                            const QString& stageSong, qint64 now) {
    process_ = up_ = true;
    canSwitch_ = canSwitch;
    loaded_ = loaded;
    add(Kind::WriteRecord);
    // It keeps playing what it has; only a DAW with no song gets the stage's.
    const QString song = songToOpen(stageSong);
    if ((loaded_.isEmpty() || placeholderLoaded()) && !song.isEmpty() && song != loaded_) {
        fromStage_ = true;
        serve(song, now);
    } else if (loaded_.isEmpty()) {
        say(QStringLiteral("%1 is ready").arg(settings_.name), Phase::Ready);
    } else {
        setLoaded(-1);
        if (!placeholderLoaded()) {
            add(Kind::Adopted, loaded_);
            add(Kind::SongInDaw, loaded_);
        }
    }
    return take();
}

SessionPlan::Commands SessionPlan::announced(bool canSwitch, const QString& stageSong, bool standby,
                                             qint64 now) {
    up_ = true;
    canSwitch_ = canSwitch;
    add(Kind::WriteRecord);
    if (!loading_.isEmpty()) {
        add(Kind::SendOpen, loading_); // started again for a session it could not switch to
        return take();
    }
    // Started (again): the song asked for meanwhile, else the one it had (a standby: the next
    // one), else the stage's. A DAW with nothing open may give up on its session manager, so
    // it always gets one.
    const bool ours = std::exchange(endedByUs_, false);
    if (waiting_.isEmpty() && !ours)
        waiting_ = standby && !loaded_.isEmpty() ? stageSong : loaded_;
    else if (waiting_.isEmpty() && standby)
        waiting_ = stageSong;
    if (waiting_ == stuck_) waiting_.clear(); // never straight back into the dialog
    loaded_.clear();
    if (waiting_.isEmpty()) {
        waiting_ = songToOpen(stageSong);
        fromStage_ = !waiting_.isEmpty();
    }
    if (waiting_.isEmpty())
        say(QStringLiteral("%1 is ready").arg(settings_.name), Phase::Ready);
    else
        next(now);
    return take();
}

void SessionPlan::serve(const QString& path, qint64 now) {
    if (clockFor_ != path) {
        clockStart_ = now;
        clockFor_ = path;
    }
    loading_ = path;
    say(QStringLiteral("Loading %1…").arg(songName(path)), Phase::Loading, path);
    add(Kind::StartTimeout);
    if (!canSwitch_ && !loaded_.isEmpty() && loaded_ != path) {
        loaded_.clear(); // its announce opens the session
        add(Kind::Restart);
        up_ = false;
        say(QStringLiteral("Starting %1…").arg(settings_.name), Phase::Starting);
        return;
    }
    if (settings_.saveBeforeSwitch && !loaded_.isEmpty() && !placeholderLoaded()) {
        saving_ = true; // its answer opens the session
        add(Kind::SendSave);
        return;
    }
    add(Kind::SendOpen, loading_);
}

SessionPlan::Commands SessionPlan::replied(const QString& what, qint64 now) {
    if (what == QLatin1String("/nsm/client/save")) {
        if (std::exchange(saving_, false) && !loading_.isEmpty()) add(Kind::SendOpen, loading_);
        return take();
    }
    if (what != QLatin1String("/nsm/client/open") || loading_.isEmpty()) return take();
    add(Kind::StopTimeout);
    const qint64 ms = now - clockStart_;
    loaded_ = std::exchange(loading_, QString());
    clockFor_.clear();
    qCInfo(lcDaw).noquote() << songName(loaded_) << "loaded in" << ms << "ms.";
    setLoaded(ms);
    add(Kind::WriteRecord);
    add(Kind::Loaded, loaded_, {}, ms);
    if (std::exchange(fromStage_, false) && !placeholderLoaded() && waiting_.isEmpty())
        add(Kind::SongInDaw, loaded_);
    next(now);
    return take();
}

SessionPlan::Commands SessionPlan::failed(const QString& what, int code, const QString& message,
                                          qint64 now) {
    if (what != QLatin1String("/nsm/client/open") && what != QLatin1String("/nsm/client/save"))
        return take();
    add(Kind::StopTimeout);
    saving_ = false;
    fromStage_ = false;
    clockFor_.clear();
    const QString song = std::exchange(loading_, QString());
    qCWarning(lcDaw).noquote() << settings_.name << "could not open" << songName(song) << "("
                               << code << "):" << message;
    say(message.isEmpty()
            ? QStringLiteral("%1 could not open %2").arg(settings_.name, songName(song))
            : message,
        Phase::Failed, song, Reason::Refused, code);
    next(now);
    return take();
}

SessionPlan::Commands SessionPlan::timedOut(qint64 now) {
    // Said of the program: both instances of a standby are the same DAW to the musician.
    giveUp(QStringLiteral("%1 did not answer within %2 s")
               .arg(settings_.programName)
               .arg(settings_.loadTimeoutMs / 1000.0),
           Reason::NoAnswer, now);
    return take();
}

SessionPlan::Commands SessionPlan::question(const QString& shown, qint64 now) {
    const QString question = process_ && waitsForDaw() ? shown : QString();
    if (question != question_) {
        question_ = question;
        questionSince_ = now;
        if (question.isEmpty() && !loading_.isEmpty())
            say(QStringLiteral("Loading %1…").arg(songName(loading_)), Phase::Loading, loading_);
        return take();
    }
    if (question.isEmpty() || now - questionSince_ < kDialogMs) return take();
    if (!loading_.isEmpty()) {
        giveUp(QStringLiteral("%1 asks \"%2\"").arg(settings_.programName, question),
               Reason::Dialog, now);
        return take();
    }
    // Before any song: the DAW's own start-up question, which someone must answer there.
    const QString asks = QStringLiteral("%1 asks \"%2\"").arg(settings_.name, question);
    if (text_ != asks) qCWarning(lcDaw).noquote() << asks << "before it can take a song.";
    say(asks, Phase::Asking, {}, Reason::Dialog);
    return take();
}

void SessionPlan::giveUp(const QString& reason, Reason why, qint64 now) {
    // A DAW waiting on a question answers nothing else, not even the session manager, and may
    // hold up the JACK graph: it is ended at once and comes back without that song.
    stuck_ = std::exchange(loading_, QString());
    notice_ = QStringLiteral("%1 cannot load: %2").arg(songName(stuck_), reason);
    noticeReason_ = why;
    qCWarning(lcDaw).noquote() << notice_ + "; it is ended and started again.";
    add(Kind::StopTimeout);
    saving_ = false;
    fromStage_ = false;
    clockFor_.clear();
    question_.clear();
    endedByUs_ = process_;
    say(QStringLiteral("Starting %1 again…").arg(settings_.name), Phase::Starting);
    add(Kind::CannotLoad, stuck_, reason);
    if (process_)
        add(Kind::Kill);
    else
        next(now);
}

SessionPlan::Commands SessionPlan::startAgain() {
    if (!process_) return take();
    // Not a death of its own: it does not count toward giving up.
    endedByUs_ = true;
    if (!loading_.isEmpty() && waiting_.isEmpty()) waiting_ = loading_;
    loading_.clear();
    add(Kind::StopTimeout);
    saving_ = false;
    fromStage_ = false;
    add(Kind::Kill);
    return take();
}

void SessionPlan::next(qint64 now) {
    if (waiting_.isEmpty() || !up_) return;
    serve(std::exchange(waiting_, QString()), now);
}

SessionPlan::Commands SessionPlan::exited(Ending ending, int status, const QString& lastLine,
                                          qint64 now) {
    add(Kind::StopTimeout);
    process_ = up_ = false;
    question_.clear();
    if (quitting_) return take();
    if (endedByUs_) {
        launch(); // ended by Gigmora, not a death
        return take();
    }
    // What it was doing comes back with it.
    if (!loading_.isEmpty() && waiting_.isEmpty()) waiting_ = loading_;
    loading_.clear();
    saving_ = false;
    fromStage_ = false;
    const QString said = lastLine.isEmpty() ? QString() : QStringLiteral(": ") + lastLine;
    const QString lastWords = lastLine.isEmpty() ? QString() : "; its last line: " + lastLine;
    if (ending == Ending::Quit) {
        // It chose to stop (its own Quit, or an error it reports): starting it again at once
        // would only repeat that. The next song asked for starts it.
        qCWarning(lcDaw).noquote() << settings_.name + " quit on its own with status " +
                                          QString::number(status) + lastWords;
        givenUp_ = true;
        say(QStringLiteral("%1 quit (status %2)%3; it starts again with the next song")
                .arg(settings_.name)
                .arg(status)
                .arg(said),
            Phase::Stopped, {}, Reason::Quit, status);
        return take();
    }
    deaths_.push_back(now);
    while (!deaths_.empty() && now - deaths_.front() > kDeathWindowMs)
        deaths_.pop_front();
    qCWarning(lcDaw).noquote() << settings_.name +
                                      (ending == Ending::Crashed ? " crashed" : " has gone away") +
                                      lastWords;
    if (int(deaths_.size()) >= kDeathsBeforeGivingUp || givenUp_) {
        givenUp_ = true;
        say(QStringLiteral("%1 keeps stopping; it starts again with the next song")
                .arg(settings_.name),
            Phase::Stopped, {}, Reason::KeepsStopping);
        return take();
    }
    say(QStringLiteral("%1 stopped; starting it again…").arg(settings_.name), Phase::Starting);
    launch();
    return take();
}

SessionPlan::Commands SessionPlan::quit() {
    quitting_ = true;
    add(Kind::StopTimeout);
    return take();
}
