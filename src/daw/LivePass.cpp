#include "daw/LivePass.h"

#include "audio/JackClient.h"
#include "daw/SessionCheck.h"
#include "library/ProjectKind.h"
#include "platform/Guard.h"

#include <QCoreApplication>
#include <QRegularExpression>

#include <jack/jack.h>

#include <algorithm>

namespace {
// A session brings its saved connections along (Master to the speakers): the check's DAW is
// connected to nothing, now and again once it has made its ports anew after the load.
void silence(const QStringList& dawClients) {
    const JackClient client(
        jack_client_open("Gigmora Check", jack_options_t(JackNoStartServer), nullptr));
    if (!client) return;
    QStringList names;
    for (const QString& dawClient : dawClients)
        names << QRegularExpression::escape(dawClient);
    const QByteArray pattern = "^(" + names.join('|').toUtf8() + "):";
    for (const QString& port : takeJackNames(jack_get_ports(
             client.get(), pattern.constData(), JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput))) {
        const QByteArray from = port.toUtf8();
        for (const QString& to : takeJackNames(jack_port_get_all_connections(
                 client.get(), jack_port_by_name(client.get(), from.constData()))))
            jack_disconnect(client.get(), from.constData(), to.toUtf8().constData());
    }
}

QString secondsText(qint64 ms) {
    return QStringLiteral("%1 s").arg(double(ms) / 1000.0, 0, 'f', 1);
}
} // namespace

LivePass::LivePass(SessionManager::Options daw, QList<Song> songs, QObject* parent)
    : QObject(parent), options_(std::move(daw)), songs_(std::move(songs)) {
    options_.clientId = QStringLiteral("Gigmora Check DAW");
    options_.name =
        (options_.name.isEmpty() ? SessionManager::nameOf(options_.program) : options_.name);
    // Nothing is written down for a later Gigmora, nothing saved, nothing opened by itself.
    options_.runtimeFolder.clear();
    options_.placeholder.clear();
    options_.saveBeforeSwitch = false;
    options_.stageSong = [] { return QString(); };
    // Its configuration is its own, as the standby's is: a DAW writes it as it goes.
    const QString home = SessionManager::configHomeFor(options_.clientId);
    SessionManager::seedConfigHome(options_.program, home);
    options_.environment << QStringLiteral("XDG_CONFIG_HOME=") + home;
    options_.standby = [] { return true; };
    options_.heard = [] { return false; };
    limit_.setSingleShot(true);
    limit_.setInterval(options_.loadTimeoutMs + kSettleMs);
    connect(&limit_, &QTimer::timeout, this, [this] {
        guarded("LivePass::limit",
                [this] { finish(QStringLiteral("%1 gave no answer").arg(options_.name)); });
    });
}

namespace {
SessionManager::Options dawOf(const GigmoraConfig::Daw& settings) {
    SessionManager::Options o;
    o.program = settings.program();
    o.loadTimeoutMs = settings.loadTimeoutSeconds * 1000;
    o.songs = SetlistCheck::songsOf(settings);
    return o;
}

QList<LivePass::Song> songsOf(const ProjectKind& kind, const SetlistCheck::Result& checked) {
    QList<LivePass::Song> songs;
    for (const SetlistCheck::Row& row : checked.rows)
        songs.append({row.title,
                      kind.isProject(row.path) && kind.sessionExists(kind.sessionPath(row.path))
                          ? kind.sessionPath(row.path)
                          : QString(),
                      row.check.seconds});
    return songs;
}
} // namespace

LivePass::LivePass(const GigmoraConfig::Daw& settings, const SetlistCheck::Result& checked,
                   QObject* parent)
    : LivePass(dawOf(settings), songsOf(SetlistCheck::songsOf(settings), checked), parent) {}

LivePass::~LivePass() {
    if (daw_) daw_->shutdown(kEndGraceMs);
}

void LivePass::abandon() {
    over_ = true;
    limit_.stop();
    setParent(QCoreApplication::instance()); // a quit ends what is left of it
    if (!daw_ || dawGone_) return deleteLater();
    connect(daw_.get(), &SessionManager::ended, this, &QObject::deleteLater);
    daw_->end(kEndGraceMs);
}

void LivePass::start() {
    daw_ = std::make_unique<SessionManager>(options_);
    connect(daw_.get(), &SessionManager::loaded, this, [this](const QString& path, qint64 ms) {
        guarded("LivePass::loaded", [&] {
            if (loads_.size() < songs_.size() && path == songs_[loads_.size()].folder) {
                // The song's other programs too (a synth beside Ardour).
                silence(daw_->clientIds());
                QTimer::singleShot(kSettleOutputsMs, this, [this] {
                    guarded("LivePass::silence", [this] {
                        if (daw_) silence(daw_->clientIds());
                    });
                });
                done({ms, {}}, false);
            }
        });
    });
    connect(daw_.get(), &SessionManager::cannotLoad, this,
            [this](const QString& path, const QString& reason) {
                guarded("LivePass::cannotLoad", [&] {
                    if (loads_.size() < songs_.size() && path == songs_[loads_.size()].folder)
                        done({-1, reason}, true);
                });
            });
    connect(daw_.get(), &SessionManager::stateChanged, this,
            [this] { guarded("LivePass::state", [this] { watchStatus(); }); });
    connect(daw_.get(), &SessionManager::ended, this, [this] { dawGone_ = true; });
    limit_.start(); // the DAW's start is bound as a load is
    daw_->start();
}

void LivePass::watchStatus() {
    using Phase = DawStatus::Phase;
    const DawStatus& s = daw_->status();
    if (over_) return;
    if (!up_) {
        if (s.phase == Phase::Ready) {
            up_ = true;
            next();
        } else if (s.phase == Phase::Failed || s.phase == Phase::Stopped) {
            finish(daw_->stateText()); // it cannot come up: no song can be loaded
        }
        return;
    }
    if (s.phase == Phase::Failed && s.reason == DawStatus::Reason::Refused) {
        done({-1, daw_->stateText()}, false);
    } else if (s.phase == Phase::Starting && s.refused.isEmpty()) {
        // It died loading the song (a song it gives up on is said as refused): the next song
        // is asked for at once, so that the DAW does not come back with this one.
        done({-1, QStringLiteral("%1 stopped while loading it").arg(options_.name)}, false);
    } else if (s.phase == Phase::Stopped) {
        finish(daw_->stateText()); // it keeps stopping, or quit
    }
}

void LivePass::next() {
    while (loads_.size() < songs_.size() && songs_[loads_.size()].folder.isEmpty())
        loads_ << Load{-1, QStringLiteral("there is no session to load")};
    emit progress(int(loads_.size()), int(songs_.size()));
    if (loads_.size() == songs_.size()) return finish({});
    limit_.start();
    daw_->open(songs_[loads_.size()].folder);
}

void LivePass::done(const Load& load, bool restarts) {
    if (over_ || loads_.size() >= songs_.size()) return;
    loads_ << load;
    if (!restarts) return next();
    // Ended on a question, the DAW comes back, without the song, before the next one.
    up_ = false;
    limit_.start();
}

void LivePass::finish(const QString& why) {
    while (loads_.size() < songs_.size())
        loads_ << Load{-1, why};
    over_ = true;
    limit_.stop();
    daw_->end(kEndGraceMs);
    emit finished();
}

bool LivePass::allLoaded() const {
    return loads_.size() == songs_.size() &&
           std::all_of(loads_.begin(), loads_.end(), [](const Load& l) { return l.ms >= 0; });
}

QString LivePass::verdict(qsizetype song) const {
    if (song > loads_.size()) return QStringLiteral("waiting");
    if (song == loads_.size()) return QStringLiteral("loading…");
    const Load& l = loads_[song];
    return l.ms >= 0 ? QStringLiteral("loaded in ") + secondsText(l.ms)
                     : QStringLiteral("did not load: ") + l.problem;
}

QStringList LivePass::summary() const {
    QStringList lines;
    qsizetype slowest = -1;
    for (qsizetype i = 0; i < loads_.size(); ++i)
        if (loads_[i].ms >= 0 && (slowest < 0 || loads_[i].ms > loads_[slowest].ms)) slowest = i;
    if (slowest >= 0)
        lines << QStringLiteral("Slowest: %1, %2.")
                     .arg(songs_[slowest].title, secondsText(loads_[slowest].ms));
    // While a song plays, the standby loads the one after it.
    QStringList late;
    int known = 0, unknown = 0;
    for (qsizetype i = 0; i + 1 < loads_.size(); ++i) {
        if (loads_[i + 1].ms < 0) continue;
        if (!songs_[i].seconds) {
            ++unknown;
            continue;
        }
        ++known;
        if (double(loads_[i + 1].ms) / 1000.0 > *songs_[i].seconds)
            late << QStringLiteral("%1 takes %2 to load and %3 plays %4")
                        .arg(songs_[i + 1].title, secondsText(loads_[i + 1].ms), songs_[i].title,
                             SessionCheck::length(*songs_[i].seconds));
    }
    if (!late.isEmpty())
        lines << QStringLiteral("The standby would not be ready in time: %1.").arg(late.join("; "));
    else if (known > 0 && unknown == 0)
        lines << QStringLiteral("The standby would be ready in time between every two songs.");
    else if (known > 0)
        lines << QStringLiteral("The standby would be ready in time wherever the song before "
                                "has a known length.");
    else if (unknown > 0)
        lines << QStringLiteral("Whether the standby would be ready in time is not known: no "
                                "song that loaded follows one with a known length.");
    return lines;
}
