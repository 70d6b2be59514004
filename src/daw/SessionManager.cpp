#include "daw/SessionManager.h"

#include "daw/DawLog.h"
#include "platform/Guard.h"

#include <QDateTime>
#include <QFileInfo>
#include <QProcessEnvironment>

SessionManager::SessionManager(Options options, QObject* parent)
    : QObject(parent), options_(std::move(options)) {
    timeout_.setSingleShot(true);
    timeout_.setInterval(options_.loadTimeoutMs);
    connect(&timeout_, &QTimer::timeout, this,
            [this] { guarded("SessionManager::timedOut", [this] { timedOut(); }); });
    connect(&nsm_, &NsmServer::announced, this,
            [this] { guarded("SessionManager::announced", [this] { announced(); }); });
    connect(&nsm_, &NsmServer::replied, this, [this](const QString& path, const QString& m) {
        guarded("SessionManager::replied", [&] { replied(path, m); });
    });
    connect(&nsm_, &NsmServer::failed, this,
            [this](const QString& path, int code, const QString& m) {
                guarded("SessionManager::failed", [&] { failed(path, code, m); });
            });
}

SessionManager::~SessionManager() {
    shutdown(0);
}

QString SessionManager::dawName() const {
    const QString program = options_.program.value(0);
    QString name = QFileInfo(program).fileName();
    if (!name.isEmpty()) name[0] = name[0].toUpper();
    return name.isEmpty() ? QStringLiteral("The DAW") : name;
}

QString SessionManager::songName(const QString& path) {
    return QFileInfo(path).fileName();
}

qint64 SessionManager::dawProcessId() const {
    return process_ ? process_->processId() : 0;
}

void SessionManager::setState(const QString& text) {
    if (text == state_) return;
    state_ = text;
    emit stateChanged(text);
}

void SessionManager::start() {
    if (process_ || quitting_) return;
    if (!nsm_.listen()) {
        setState(QStringLiteral("The session manager cannot listen"));
        return;
    }
    launch();
}

void SessionManager::launch() {
    if (options_.program.isEmpty()) return;
    nsm_.forgetClient();
    process_ = std::make_unique<QProcess>();
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("NSM_URL"), nsm_.url());
    process_->setProcessEnvironment(env);
    process_->setProcessChannelMode(QProcess::MergedChannels);
    QProcess* p = process_.get();
    connect(p, &QProcess::readyRead, this, [this, p] {
        // The DAW's own output goes to the log, line by line, under its name.
        while (p->canReadLine())
            qCInfo(lcDaw).noquote() << dawName() + ":" << p->readLine().trimmed();
    });
    connect(p, &QProcess::finished, this, [this, p] {
        if (p == process_.get()) guarded("SessionManager::died", [this] { died(); });
    });
    connect(p, &QProcess::errorOccurred, this, [this, p](QProcess::ProcessError e) {
        if (e == QProcess::FailedToStart && p == process_.get()) {
            qCWarning(lcDaw).noquote()
                << "Could not start" << options_.program.join(' ') + ":" << p->errorString();
            setState(QStringLiteral("%1 could not be started").arg(dawName()));
        }
    });
    setState(QStringLiteral("Starting %1…").arg(dawName()));
    process_->start(options_.program.first(), options_.program.mid(1));
}

void SessionManager::open(const QString& path) {
    givenUp_ = false; // a new song asked for: the DAW gets another chance
    if (!QFileInfo(path).isDir()) {
        qCWarning(lcDaw).noquote() << "No session folder at" << path << "; nothing is opened.";
        setState(QStringLiteral("No session at %1").arg(songName(path)));
        return;
    }
    // Timed from the request (the recall's opening) to the DAW's answer.
    clock_.start();
    clockFor_ = path;
    if (!process_) start();
    if (!loading_.isEmpty() || !nsm_.hasClient()) {
        waiting_ = path; // only the latest waits
        return;
    }
    serve(path);
}

void SessionManager::announced() {
    if (!loading_.isEmpty()) {
        openLoading(); // started again for a session it could not switch to
        return;
    }
    // Started (again): the song asked for meanwhile, else the one it had.
    if (waiting_.isEmpty()) waiting_ = loaded_;
    loaded_.clear();
    if (waiting_.isEmpty())
        setState(QStringLiteral("%1 is ready").arg(dawName()));
    else
        next();
}

void SessionManager::serve(const QString& path) {
    if (clockFor_ != path) {
        clock_.start();
        clockFor_ = path;
    }
    loading_ = path;
    setState(QStringLiteral("Loading %1…").arg(songName(path)));
    timeout_.start();
    if (!nsm_.canSwitch() && !loaded_.isEmpty() && loaded_ != path) {
        restart(); // its announce opens the session
        return;
    }
    if (options_.saveBeforeSwitch && !loaded_.isEmpty()) {
        saving_ = true; // its answer opens the session
        nsm_.save();
        return;
    }
    openLoading();
}

void SessionManager::openLoading() {
    const QString name = songName(loading_);
    nsm_.open(loading_, name, QStringLiteral("Gigmora.") + name);
}

void SessionManager::restart() {
    QProcess* old = process_.release();
    old->disconnect(this);
    connect(old, &QProcess::finished, old, &QObject::deleteLater);
    old->terminate();
    loaded_.clear();
    launch();
}

void SessionManager::replied(const QString& path, const QString&) {
    if (path == QLatin1String("/nsm/client/save")) {
        if (std::exchange(saving_, false) && !loading_.isEmpty()) openLoading();
        return;
    }
    if (path != QLatin1String("/nsm/client/open") || loading_.isEmpty()) return;
    timeout_.stop();
    const qint64 ms = clock_.elapsed();
    loaded_ = std::exchange(loading_, QString());
    clockFor_.clear();
    qCInfo(lcDaw).noquote() << songName(loaded_) << "loaded in" << ms << "ms.";
    setState(QStringLiteral("%1 loaded (%2 s)").arg(songName(loaded_)).arg(ms / 1000.0, 0, 'f', 1));
    emit loaded(loaded_, ms);
    next();
}

void SessionManager::failed(const QString& path, int code, const QString& message) {
    if (path != QLatin1String("/nsm/client/open") && path != QLatin1String("/nsm/client/save"))
        return;
    timeout_.stop();
    saving_ = false;
    clockFor_.clear();
    const QString song = songName(std::exchange(loading_, QString()));
    qCWarning(lcDaw).noquote() << dawName() << "could not open" << song << "(" << code
                               << "):" << message;
    setState(message.isEmpty() ? QStringLiteral("%1 could not open %2").arg(dawName(), song)
                               : message);
    next();
}

void SessionManager::timedOut() {
    qCWarning(lcDaw).noquote() << dawName() << "did not answer within"
                               << options_.loadTimeoutMs / 1000.0 << "s.";
    loading_.clear();
    saving_ = false;
    clockFor_.clear();
    setState(QStringLiteral("%1 is not answering").arg(dawName()));
    next();
}

void SessionManager::next() {
    if (waiting_.isEmpty() || !nsm_.hasClient()) return;
    serve(std::exchange(waiting_, QString()));
}

void SessionManager::died() {
    timeout_.stop();
    process_.release()->deleteLater();
    nsm_.forgetClient();
    if (quitting_) return;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    deaths_.push_back(now);
    while (!deaths_.empty() && now - deaths_.front() > kDeathWindowMs)
        deaths_.pop_front();
    // What it was doing comes back with it.
    if (!loading_.isEmpty() && waiting_.isEmpty()) waiting_ = loading_;
    loading_.clear();
    saving_ = false;
    qCWarning(lcDaw).noquote() << dawName() << "has gone away.";
    if (int(deaths_.size()) >= kDeathsBeforeGivingUp || givenUp_) {
        givenUp_ = true;
        setState(
            QStringLiteral("%1 keeps stopping; it starts again with the next song").arg(dawName()));
        return;
    }
    setState(QStringLiteral("%1 stopped; starting it again…").arg(dawName()));
    launch();
}

void SessionManager::shutdown(int graceMs) {
    quitting_ = true;
    timeout_.stop();
    if (!process_) return;
    QProcess* p = process_.get();
    p->disconnect(this);
    p->terminate();
    if (!p->waitForFinished(graceMs)) {
        p->kill();
        p->waitForFinished(1000);
    }
    process_.reset();
}
