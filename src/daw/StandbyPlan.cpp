#include "daw/StandbyPlan.h"

#include "daw/DawLog.h"
#include "daw/SessionPlan.h"

using PairKind = StandbyPlan::Command::Kind;

StandbyPlan::Commands StandbyPlan::start(bool routed, bool secondHeard, const Facts& f) {
    routed_ = routed;
    quietSince_ = f.now;
    if (routed && secondHeard) {
        active_ = 1;
        add(PairKind::SwapTo, 1);
    }
    return take();
}

bool StandbyPlan::swapsAtOnce(const QString& path, const Facts& f) const {
    const Daw& s = f.daws[size_t(standby())];
    return standbyUp(f) && !spillover_ && s.pending.isEmpty() && !path.isEmpty() &&
           s.loaded == path && heard(standby(), f);
}

bool StandbyPlan::heard(int instance, const Facts& f) const {
    // A DAW answers a load before it has registered its ports again (Ardour does): the ports
    // connected now may be about to go. Only once the server has been quiet for a moment do
    // the connected ones stay.
    const qint64 loaded = loadedAt_[size_t(instance)];
    return f.router.hasInput[size_t(instance)] && loaded >= 0 && f.now - loaded >= kSettleMs &&
           f.now - quietSince_ >= kQuietMs;
}

void StandbyPlan::swapWhenReady(const Facts& f) {
    if (!wanted_.isEmpty() && swapsAtOnce(wanted_, f)) swap(f);
}

StandbyPlan::Commands StandbyPlan::swapIfReady(const Facts& f) {
    swapWhenReady(f);
    return take();
}

StandbyPlan::Commands StandbyPlan::open(const QString& path, const Facts& f) {
    const Daw& current = f.daws[size_t(active_)];
    // A song that could not load is refused once, with the reason; the next recall tries again.
    const bool refused = refused_.contains(path) && !said_.contains(path);
    if (!refused) {
        refused_.remove(path);
        said_.remove(path);
        notice_.clear();
        noticeSong_.clear();
    }
    if (f.router.target != active_) {
        // The trigger swapped by itself, in real time: this is its recall.
        if (!refused && swapsAtOnce(path, f)) {
            swap(f);
            return take();
        }
        add(PairKind::SwapTo, active_); // it was another song's: the current one sounds on
    }
    if (refused) {
        refuse(path);
    } else if (!standbyUp(f)) {
        add(PairKind::OpenIn, active_, path); // one DAW, as without a standby
    } else if (current.loaded == path && current.pending.isEmpty()) {
        wanted_.clear(); // it plays already
    } else if (swapsAtOnce(path, f)) {
        swap(f);
    } else {
        wanted_ = path;
        // Still ringing out: it takes the song when it is silent.
        if (!spillover_) openInStandby(path, f);
    }
    return take();
}

StandbyPlan::Commands StandbyPlan::loaded(int instance, const QString& path, const Facts& f) {
    loadedAt_[size_t(instance)] = f.now;
    if (routed_) route(instance, f);
    if (instance == standby() && path == wanted_) swapWhenReady(f);
    return take();
}

StandbyPlan::Commands StandbyPlan::cannotLoad(int instance, const QString& path,
                                              const QString& reason, DawStatus::Reason why,
                                              const Facts&) {
    refused_.insert(path, reason);
    refusedWhy_.insert(path, why);
    // A recall waiting for it is refused now; a song the stage is not on yet is skipped.
    if (instance == standby() && path == wanted_) {
        wanted_.clear();
        refuse(path);
    } else if (instance == active_) {
        refused_.remove(path); // the recall itself was of it: said by that DAW
    }
    return take();
}

void StandbyPlan::refuse(const QString& path) {
    said_.insert(path);
    notice_ =
        QStringLiteral("%1 cannot load: %2").arg(SessionPlan::songName(path), refused_.value(path));
    noticeSong_ = path;
    qCWarning(lcDaw).noquote() << notice_ + "; the song that plays goes on.";
}

bool StandbyPlan::listened(int instance, const Facts& f) const {
    const size_t i = size_t(instance);
    if (instance == active_ || instance == f.router.target || f.router.audible[i] || spillover_)
        return true;
    const Daw& daw = f.daws[i];
    // Joined only once the server has been quiet for a moment after its load, and then kept.
    return daw.up && daw.pending.isEmpty() && !daw.loaded.isEmpty() && loadedAt_[i] >= 0 &&
           f.now - loadedAt_[i] >= kSettleMs &&
           (f.router.listensTo[i] || f.now - quietSince_ >= kQuietMs);
}

StandbyPlan::Commands StandbyPlan::look(bool graphChanged, const Facts& f) {
    if (graphChanged) quietSince_ = f.now;
    // A DAW registers its ports again after a load, later than its answer, and brings the
    // session's connections along: they are cut as soon as they appear.
    for (int i = 0; i < kInstances; ++i)
        if (graphChanged || listened(i, f) != f.router.listensTo[size_t(i)]) route(i, f);
    // A DAW the JACK server has shut out (Ardour says "JACK HALTED") lives on without a port
    // and is never heard again: it is ended and comes back with its song.
    for (int i = 0; i < kInstances; ++i) {
        const Daw& daw = f.daws[size_t(i)];
        qint64& loaded = loadedAt_[size_t(i)];
        if (!daw.up || !daw.pending.isEmpty() || loaded < 0 || f.now - loaded < kCutOffMs ||
            daw.hasPorts)
            continue;
        loaded = -1;
        add(PairKind::StartAgain, i);
    }
    return take();
}

void StandbyPlan::openInStandby(const QString& path, const Facts& f) {
    // Let go before the load begins: a loading DAW runs late, and the router would wait for it.
    loadedAt_[size_t(standby())] = -1;
    route(standby(), f);
    add(PairKind::OpenIn, standby(), path);
}

void StandbyPlan::swap(const Facts& f) {
    add(PairKind::Arm, -1);
    add(PairKind::SwapTo, standby());
    active_ = standby();
    wanted_.clear();
    add(PairKind::RewriteRecords);
    qCInfo(lcDaw).noquote() << "Swapped to instance" << active_ << "with"
                            << SessionPlan::songName(f.daws[size_t(active_)].loaded);
    spillover_ = true;
    add(PairKind::Spillover, -1, {}, spilloverMs_);
}

QString StandbyPlan::songFor(int instance, const Facts& f) const {
    if (instance == active_) return stage_.current();
    const Daw& playing = f.daws[size_t(active_)];
    QString song = nextSong(f);
    if (song.isEmpty() && playing.loaded.isEmpty()) song = stage_.after(stage_.current());
    // A session is never open in both.
    return song == playing.loaded || song == playing.pending ? QString() : song;
}

QString StandbyPlan::nextSong(const Facts& f) const {
    if (!wanted_.isEmpty()) return wanted_;
    const QString current = f.daws[size_t(active_)].loaded;
    QString next = stage_.after(current);
    // A song that cannot load is passed over: the one after it is ready for the trigger after.
    for (int skipped = 0; refused_.contains(next) && skipped < refused_.size(); ++skipped)
        next = stage_.after(next);
    return next == current ? QString() : next;
}

StandbyPlan::Commands StandbyPlan::spilloverEnded(const Facts& f) {
    // The swap may have been seen a period after the recall: the fade must end first.
    if (f.router.audible[size_t(standby())]) {
        add(PairKind::Spillover, -1, {}, kFadePollMs);
        return take();
    }
    spillover_ = false;
    const QString current = f.daws[size_t(active_)].loaded;
    const QString next = nextSong(f);
    const Daw& s = f.daws[size_t(standby())];
    // After the last song the standby idles; a session is never open in both.
    if (!next.isEmpty() && next != current && s.loaded != next && s.pending != next)
        openInStandby(next, f);
    return take();
}

StandbyPlan::Commands StandbyPlan::refresh(const Facts& f) {
    using Phase = DawStatus::Phase;
    const Daw& a = f.daws[size_t(active_)];
    const Daw& s = f.daws[size_t(standby())];
    DawStatus status = a.status;
    const bool playing = !a.loaded.isEmpty() && a.pending.isEmpty() && !a.placeholder;
    QString text = playing ? SessionPlan::songName(a.loaded) + QStringLiteral(" playing") : a.text;
    // Playing, the instance's words (and with them what it could not load before) give way.
    if (playing) status = {DawStatus::Phase::Loaded, status.song};
    if (!notice_.isEmpty()) {
        text += QStringLiteral(" · ") + notice_;
        status.refused = SessionPlan::songName(noticeSong_);
        status.reason = refusedWhy_.value(noticeSong_);
    } else if (routed_ && !s.up && status.refused.isEmpty() && !s.status.refused.isEmpty()) {
        status.refused = s.status.refused; // the standby's, said while its words are shown
        status.reason = s.status.reason;
    }
    if (routed_) {
        if (!s.up) {
            text += QStringLiteral(" · standby: ") + s.text;
            status.standby = s.status.phase;
        } else if (!s.pending.isEmpty()) {
            text += QStringLiteral(" · next: %1 loading…").arg(SessionPlan::songName(s.pending));
            status.standby = Phase::Loading;
            status.next = SessionPlan::songName(s.pending);
        } else if (!s.loaded.isEmpty() && s.loaded == nextSong(f)) {
            const bool ready = heard(standby(), f);
            text += (ready ? QStringLiteral(" · next: %1 ready")
                           : QStringLiteral(" · next: %1 loading…"))
                        .arg(SessionPlan::songName(s.loaded));
            status.standby = ready ? Phase::Loaded : Phase::Loading;
            status.next = SessionPlan::songName(s.loaded);
        } else {
            status.standby = Phase::Ready;
        }
    }
    // The next trigger recalls the song after the stage's: if the standby holds it, heard by
    // the router, the trigger itself swaps.
    add(PairKind::Arm,
        f.router.target == active_ && swapsAtOnce(stage_.next(), f) ? standby() : -1);
    text_ = text;
    status_ = status;
    return take();
}
