#include "daw/StandbyDaws.h"

#include "daw/CompanionPrograms.h"
#include "daw/DawLog.h"
#include "platform/Guard.h"

#include <QFileInfo>

// Neither name begins with the other: Ardour takes every port whose name begins with its own
// client's name for one of its own, and would handle the other instance's ports as its own.
QString StandbyDaws::clientId(int instance) {
    return instance == 0 ? QStringLiteral("Gigmora DAW") : QStringLiteral("Gigmora Second DAW");
}

StandbyDaws::StandbyDaws(Options options, QObject* parent)
    : QObject(parent), options_(std::move(options)),
      plan_(options_.plan, qint64(options_.router.spilloverMs)), router_(options_.router) {
    clock_.start();
    spillover_.setSingleShot(true);
    connect(&spillover_, &QTimer::timeout, this, [this] {
        guarded("StandbyDaws::spilloverEnded", [this] { handle(plan_.spilloverEnded(facts())); });
    });
    graph_.setInterval(100);
    connect(&graph_, &QTimer::timeout, this, [this] {
        guarded("StandbyDaws::look", [this] {
            const bool changed = router_.takeGraphChange();
            // A source connected to the virtual input, now or after a reconnect.
            if (changed) router_.followTriggerSources();
            run(plan_.look(changed, facts()));
            handle(plan_.swapIfReady(facts()));
        });
    });
    for (int i = 0; i < kInstances; ++i) {
        SessionManager::Options o = options_.daw;
        o.clientId = clientId(i);
        if (i == 1) {
            o.name = (o.name.isEmpty() ? SessionManager::nameOf(o.program) : o.name) +
                     QStringLiteral(" B");
            if (!o.placeholder.isEmpty()) o.placeholder += QStringLiteral(" B");
            // The DAW writes its configuration as it goes: the second one gets a home of its
            // own, so that neither overwrites the other's.
            const QString home = configHome(i);
            SessionManager::seedConfigHome(o.program, home);
            o.environment << QStringLiteral("XDG_CONFIG_HOME=") + home;
        }
        // Announced, or back from a death, an instance takes the song its role asks for.
        o.stageSong = [this, i] { return plan_.songFor(i, facts()); };
        o.heard = [this, i] { return i == plan_.active(); };
        o.standby = [this, i] { return i != plan_.active(); };
        auto daw = std::make_unique<SessionManager>(std::move(o));
        connect(daw.get(), &SessionManager::loaded, this, [this, i](const QString& path, qint64) {
            guarded("StandbyDaws::loaded", [&] { handle(plan_.loaded(i, path, facts())); });
        });
        connect(daw.get(), &SessionManager::cannotLoad, this,
                [this, i](const QString& path, const QString& reason) {
                    guarded("StandbyDaws::cannotLoad", [&] {
                        handle(plan_.cannotLoad(i, path, reason, daws_[size_t(i)]->status().reason,
                                                facts()));
                    });
                });
        connect(daw.get(), &SessionManager::adopted, this, [this, i](const QString& path) {
            if (i == plan_.active()) emit adopted(path);
        });
        connect(daw.get(), &SessionManager::stateChanged, this,
                [this] { guarded("StandbyDaws::state", [this] { handle({}); }); });
        connect(daw.get(), &SessionManager::songInDaw, this, [this, i](const QString& path) {
            if (i == plan_.active()) emit songInDaw(path);
        });
        daws_[size_t(i)] = std::move(daw);
    }
}

void StandbyDaws::confine(int instance) {
    const int other = 1 - instance;
    const QStringList own = daws_[size_t(instance)]->clientIds();
    const QStringList others = daws_[size_t(other)]->clientIds();
    for (const QString& program : own.mid(1)) {
        const QString twin =
            CompanionPrograms::twinOf(program, clientId(instance), clientId(other));
        router_.confine(program, own, others, others.contains(twin) ? twin : QString());
    }
}

StandbyDaws::~StandbyDaws() {
    shutdown();
}

StandbyPlan::Facts StandbyDaws::facts() const {
    StandbyPlan::Facts f;
    for (int i = 0; i < kInstances; ++i) {
        const SessionManager& d = *daws_[size_t(i)];
        f.daws[size_t(i)] = {d.isUp(),
                             d.loadedPath(),
                             d.pendingPath(),
                             d.placeholderLoaded(),
                             d.isUp() ? router_.hasPorts(clientId(i)) : true,
                             d.status(),
                             d.stateText()};
        f.router.audible[size_t(i)] = router_.audible(i);
        f.router.listensTo[size_t(i)] = router_.listensTo(i);
        f.router.hasInput[size_t(i)] = router_.hasInput(i);
    }
    f.router.target = router_.target();
    f.now = clock_.elapsed();
    return f;
}

void StandbyDaws::handle(const StandbyPlan::Commands& commands) {
    run(commands);
    run(plan_.refresh(facts()));
    if (plan_.text() == said_ && plan_.status() == saidStatus_) return;
    said_ = plan_.text();
    saidStatus_ = plan_.status();
    emit stateChanged(said_);
}

void StandbyDaws::run(const StandbyPlan::Commands& commands) {
    using Kind = StandbyPlan::Command::Kind;
    for (const StandbyPlan::Command& c : commands) {
        switch (c.kind) {
        case Kind::OpenIn:
            daws_[size_t(c.instance)]->open(c.path);
            break;
        case Kind::Route:
            // A session brings its own connections along; only the router may hear a DAW.
            router_.routeInstance(c.instance, clientId(c.instance), c.listen);
            confine(c.instance);
            break;
        case Kind::SwapTo:
            router_.swapTo(c.instance);
            break;
        case Kind::Arm:
            router_.arm(c.instance);
            break;
        case Kind::StartAgain:
            qCWarning(lcDaw).noquote()
                << clientId(c.instance) << "has no port on the JACK server; it is started again.";
            daws_[size_t(c.instance)]->startAgain();
            break;
        case Kind::Spillover:
            spillover_.start(int(c.ms));
            break;
        case Kind::RewriteRecords:
            for (auto& daw : daws_)
                daw->rewriteRecord();
            break;
        }
    }
}

void StandbyDaws::start() {
    const Result<> started = router_.start();
    const bool routed = bool(started);
    if (!started)
        qCWarning(lcDaw).noquote() << "The audio router could not start (" +
                                          started.failure().words +
                                          "): one DAW plays, without a standby.";
    // Taken over after a crash, the instance that was heard stays heard: the other holds the
    // next song.
    const bool secondHeard = !options_.daw.runtimeFolder.isEmpty() &&
                             SessionManager::recordedHeard(daws_[1]->recordFile()) &&
                             !SessionManager::recordedHeard(daws_[0]->recordFile());
    run(plan_.start(routed, secondHeard, facts()));
    daws_[0]->start();
    if (routed) {
        daws_[1]->start();
        graph_.start();
    }
    handle({});
}

void StandbyDaws::open(const QString& path) {
    handle(plan_.open(path, facts()));
}

void StandbyDaws::setPlan(const StagePlan& plan) {
    plan_.setStage(plan);
    handle({}); // the trigger is armed for the new next song
}

QString StandbyDaws::configHome(int instance) {
    if (instance == 0) return QString(); // the musician's own
    return SessionManager::configHomeFor(clientId(instance));
}

void StandbyDaws::shutdown() {
    spillover_.stop();
    graph_.stop();
    router_.stop();
    for (auto& daw : daws_)
        if (daw) daw->shutdown();
}
