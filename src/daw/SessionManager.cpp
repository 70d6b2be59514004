#include "daw/SessionManager.h"

#include "daw/DawLog.h"
#include "daw/DawRecord.h"
#include "platform/Guard.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <signal.h>

SessionManager::SessionManager(Options options, QObject* parent)
    : QObject(parent), options_(std::move(options)) {
    timeout_.setSingleShot(true);
    timeout_.setInterval(options_.loadTimeoutMs);
    connect(&timeout_, &QTimer::timeout, this,
            [this] { guarded("SessionManager::timedOut", [this] { timedOut(); }); });
    dialogPoll_.setInterval(kDialogPollMs);
    connect(&dialogPoll_, &QTimer::timeout, this,
            [this] { guarded("SessionManager::lookForDialogs", [this] { lookForDialogs(); }); });
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
    return options_.name.isEmpty() ? nameOf(options_.program) : options_.name;
}

QString SessionManager::nameOf(const QStringList& command) {
    const QString program = command.value(0);
    QString name = QFileInfo(program).fileName();
    if (!name.isEmpty()) name[0] = name[0].toUpper();
    return name.isEmpty() ? QStringLiteral("The DAW") : name;
}

QString SessionManager::songName(const QString& path) {
    return QFileInfo(path).fileName();
}

QString SessionManager::recordFileIn(const QString& runtimeFolder, const QString& clientId) {
    return runtimeFolder + "/" + clientId + ".json";
}

QString SessionManager::recordFile() const {
    return options_.runtimeFolder.isEmpty()
               ? QString()
               : recordFileIn(options_.runtimeFolder, options_.clientId);
}

QString SessionManager::outputFile() const {
    // Beside the record when there is one: the next Gigmora reads on where this one stopped.
    return options_.runtimeFolder.isEmpty()
               ? QString()
               : options_.runtimeFolder + "/" + options_.clientId + ".log";
}

bool SessionManager::placeholderLoaded() const {
    return !loaded_.isEmpty() && loaded_ == options_.placeholder;
}

qint64 SessionManager::dawProcessId() const {
    return process_ ? process_->pid() : 0;
}

void SessionManager::setState(const QString& text) {
    const QString said = notice_.isEmpty() || text.startsWith(notice_)
                             ? text
                             : notice_ + QStringLiteral(" · ") + text;
    if (said == state_) return;
    state_ = said;
    emit stateChanged(said);
}

void SessionManager::setLoadedState(qint64 ms) {
    if (placeholderLoaded())
        setState(QStringLiteral("%1 ready, no song loaded").arg(dawName()));
    else if (ms < 0)
        setState(QStringLiteral("%1 loaded (%2 kept playing)").arg(songName(loaded_), dawName()));
    else
        setState(
            QStringLiteral("%1 loaded (%2 s)").arg(songName(loaded_)).arg(ms / 1000.0, 0, 'f', 1));
}

void SessionManager::writeRecord() {
    if (recordFile().isEmpty() || !process_ || !process_->running()) return;
    DawRecord r;
    r.pid = process_->pid();
    r.startTime = process_->startTime();
    r.serverPort = nsm_.port();
    if (nsm_.hasClient()) {
        r.clientAddress = nsm_.clientAddress().toString();
        r.clientPort = nsm_.clientPort();
        r.clientName = nsm_.clientName();
        r.capabilities = nsm_.capabilities();
    }
    r.loaded = loaded_;
    r.program = options_.program.join(' ');
    r.heard = !options_.heard || options_.heard();
    r.write(recordFile());
}

void SessionManager::start() {
    if (process_ || ending_ || quitting_) return;
    if (takeOverRecorded()) return;
    if (!nsm_.listen()) {
        setState(QStringLiteral("The session manager cannot listen"));
        return;
    }
    launch();
}

bool SessionManager::takeOverRecorded() {
    if (recordFile().isEmpty()) return false;
    const std::optional<DawRecord> record = DawRecord::read(recordFile());
    if (!record) return false;
    if (DawProcess::startTimeOf(record->pid) != record->startTime) {
        DawRecord::remove(recordFile()); // it ended with the Gigmora that started it
        return false;
    }
    // Still playing: the same DAW, announced, and the session manager's port to be had again
    // (where it sends its replies), and it carries on under this Gigmora.
    if (record->announced() && record->program == options_.program.join(' ') &&
        nsm_.listen(record->serverPort)) {
        auto* taken = new DawProcess(dawName(), this);
        if (taken->adopt(record->pid, record->startTime, outputFile())) {
            process_ = taken;
            watch(taken);
            dialogPoll_.start();
            nsm_.adoptClient(QHostAddress(record->clientAddress), record->clientPort,
                             record->clientName, record->capabilities);
            loaded_ = record->loaded;
            qCInfo(lcDaw).noquote()
                << QStringLiteral("Took over %1 (process %2) from the last run, with %3.")
                       .arg(dawName())
                       .arg(record->pid)
                       .arg(loaded_.isEmpty() ? QStringLiteral("no song") : songName(loaded_));
            writeRecord();
            // It keeps playing what it has; only a DAW with no song gets the stage's.
            const QString song = songToOpen();
            if ((loaded_.isEmpty() || placeholderLoaded()) && !song.isEmpty() && song != loaded_) {
                fromStage_ = true;
                serve(song);
            } else if (loaded_.isEmpty()) {
                setState(QStringLiteral("%1 is ready").arg(dawName()));
            } else {
                setLoadedState(-1);
                if (!placeholderLoaded()) {
                    emit adopted(loaded_);
                    emit songInDaw(loaded_);
                }
            }
            return true;
        }
        delete taken;
    }
    endRecorded();
    return true;
}

bool SessionManager::recordedHeard(const QString& recordFile) {
    const std::optional<DawRecord> record = DawRecord::read(recordFile);
    return record && record->heard && DawProcess::startTimeOf(record->pid) == record->startTime;
}

DawProcess* SessionManager::endRecordedDaw(const QString& recordFile, const QString& name,
                                           QObject* owner) {
    const std::optional<DawRecord> record = DawRecord::read(recordFile);
    auto* old = record ? new DawProcess(name, owner) : nullptr;
    if (!old || !old->adopt(record->pid, record->startTime, QString())) {
        delete old;
        DawRecord::remove(recordFile);
        return nullptr;
    }
    qCWarning(lcDaw).noquote() << QStringLiteral(
                                      "The %1 left running by the last run (process %2) is ended.")
                                      .arg(name)
                                      .arg(record->pid);
    QObject::connect(old, &DawProcess::exited, old, [old, recordFile] {
        DawRecord::remove(recordFile);
        old->deleteLater();
    });
    old->stop(kEndGraceMs);
    return old;
}

void SessionManager::endRecorded() {
    // Two DAWs would fight over the audio and neither would hear the triggers: the one that
    // cannot be taken over ends before this Gigmora starts its own.
    ending_ = endRecordedDaw(recordFile(), dawName(), this);
    if (!ending_) {
        start();
        return;
    }
    setState(QStringLiteral("Ending the %1 left running…").arg(dawName()));
    connect(ending_, &DawProcess::exited, this, [this] {
        ending_ = nullptr;
        guarded("SessionManager::start", [this] { start(); });
    });
}

void SessionManager::launch() {
    if (options_.program.isEmpty()) return;
    nsm_.forgetClient();
    auto* p = new DawProcess(dawName(), this);
    process_ = p;
    watch(p);
    connect(p, &DawProcess::failedToStart, this, [this, p](const QString& reason) {
        qCWarning(lcDaw).noquote()
            << "Could not start" << options_.program.join(' ') + ":" << reason;
        if (p == process_) process_ = nullptr;
        p->deleteLater();
        setState(QStringLiteral("%1 could not be started").arg(dawName()));
    });
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("NSM_URL"), nsm_.url());
    for (const QString& variable : options_.environment)
        env.insert(variable.section('=', 0, 0), variable.section('=', 1));
    setState(QStringLiteral("Starting %1…").arg(dawName()));
    QString output = outputFile();
    if (output.isEmpty())
        output = QProcess::nullDevice();
    else
        QDir().mkpath(options_.runtimeFolder);
    p->start(options_.program, env, output);
    writeRecord();
    dialogPoll_.start();
}

void SessionManager::watch(DawProcess* process) {
    connect(process, &DawProcess::exited, this,
            [this, process](DawProcess::Ending ending, int status, const QString& lastLine) {
                if (process != process_) return;
                guarded("SessionManager::exited", [&] { exited(ending, status, lastLine); });
            });
}

void SessionManager::open(const QString& path) {
    givenUp_ = false; // a new song asked for: the DAW gets another chance
    stuck_.clear();   // and a song it could not load, another try
    notice_.clear();
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

QString SessionManager::songToOpen() const {
    QString song = options_.stageSong ? options_.stageSong() : QString();
    if (song == stuck_) song.clear();
    if (!song.isEmpty() && QFileInfo(song).isDir()) return song;
    if (!song.isEmpty())
        qCWarning(lcDaw).noquote()
            << "No session folder at" << song << "; the placeholder is opened.";
    return options_.placeholder;
}

void SessionManager::announced() {
    writeRecord();
    if (!loading_.isEmpty()) {
        openLoading(); // started again for a session it could not switch to
        return;
    }
    // Started (again): the song asked for meanwhile, else the one it had, else the stage's.
    // A DAW with nothing open may give up on its session manager, so it always gets one.
    if (waiting_.isEmpty() && !std::exchange(endedByUs_, false))
        waiting_ =
            options_.songOnReturn && !loaded_.isEmpty() ? options_.songOnReturn(loaded_) : loaded_;
    else if (waiting_.isEmpty() && options_.songOnReturn)
        waiting_ = options_.songOnReturn(QString());
    if (waiting_ == stuck_) waiting_.clear(); // never straight back into the dialog
    loaded_.clear();
    if (waiting_.isEmpty()) {
        waiting_ = songToOpen();
        fromStage_ = !waiting_.isEmpty();
    }
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
    if (options_.saveBeforeSwitch && !loaded_.isEmpty() && !placeholderLoaded()) {
        saving_ = true; // its answer opens the session
        nsm_.save();
        return;
    }
    openLoading();
}

void SessionManager::openLoading() {
    nsm_.open(loading_, songName(loading_), options_.clientId);
}

void SessionManager::restart() {
    DawProcess* old = std::exchange(process_, nullptr);
    old->disconnect(this);
    connect(old, &DawProcess::exited, old, &QObject::deleteLater);
    old->stop(kEndGraceMs);
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
    setLoadedState(ms);
    writeRecord();
    emit loaded(loaded_, ms);
    if (std::exchange(fromStage_, false) && !placeholderLoaded() && waiting_.isEmpty())
        emit songInDaw(loaded_);
    next();
}

void SessionManager::failed(const QString& path, int code, const QString& message) {
    if (path != QLatin1String("/nsm/client/open") && path != QLatin1String("/nsm/client/save"))
        return;
    timeout_.stop();
    saving_ = false;
    fromStage_ = false;
    clockFor_.clear();
    const QString song = songName(std::exchange(loading_, QString()));
    qCWarning(lcDaw).noquote() << dawName() << "could not open" << song << "(" << code
                               << "):" << message;
    setState(message.isEmpty() ? QStringLiteral("%1 could not open %2").arg(dawName(), song)
                               : message);
    next();
}

void SessionManager::timedOut() {
    // Said of the program: both instances of a standby are the same DAW to the musician.
    giveUp(QStringLiteral("%1 did not answer within %2 s")
               .arg(nameOf(options_.program))
               .arg(options_.loadTimeoutMs / 1000.0));
}

void SessionManager::lookForDialogs() {
    const bool waits = !loading_.isEmpty() || !nsm_.hasClient();
    const QString question = process_ && waits ? dialogs_.question(process_->pid()) : QString();
    if (question != question_) {
        question_ = question;
        questionSeen_.start();
        if (question.isEmpty() && !loading_.isEmpty())
            setState(QStringLiteral("Loading %1…").arg(songName(loading_)));
        return;
    }
    if (question.isEmpty() || questionSeen_.elapsed() < kDialogMs) return;
    if (!loading_.isEmpty())
        return giveUp(QStringLiteral("%1 asks \"%2\"").arg(nameOf(options_.program), question));
    // Before any song: the DAW's own start-up question, which someone must answer there.
    const QString asks = QStringLiteral("%1 asks \"%2\"").arg(dawName(), question);
    if (state_ != asks) qCWarning(lcDaw).noquote() << asks << "before it can take a song.";
    setState(asks);
}

void SessionManager::giveUp(const QString& reason) {
    // A DAW waiting on a question answers nothing else, not even the session manager, and may
    // hold up the JACK graph: it is ended at once and comes back without that song.
    stuck_ = std::exchange(loading_, QString());
    notice_ = QStringLiteral("%1 cannot load: %2").arg(songName(stuck_), reason);
    qCWarning(lcDaw).noquote() << notice_ + "; it is ended and started again.";
    timeout_.stop();
    saving_ = false;
    fromStage_ = false;
    clockFor_.clear();
    question_.clear();
    endedByUs_ = process_ != nullptr;
    setState(QStringLiteral("Starting %1 again…").arg(dawName()));
    emit cannotLoad(stuck_, reason);
    if (process_)
        ::kill(pid_t(process_->pid()), SIGKILL);
    else
        next();
}

void SessionManager::startAgain() {
    if (!process_) return;
    // Not a death of its own: it does not count toward giving up.
    endedByUs_ = true;
    if (!loading_.isEmpty() && waiting_.isEmpty()) waiting_ = loading_;
    loading_.clear();
    timeout_.stop();
    saving_ = false;
    fromStage_ = false;
    ::kill(pid_t(process_->pid()), SIGKILL);
}

void SessionManager::next() {
    if (waiting_.isEmpty() || !nsm_.hasClient()) return;
    serve(std::exchange(waiting_, QString()));
}

void SessionManager::exited(DawProcess::Ending ending, int status, const QString& lastLine) {
    timeout_.stop();
    std::exchange(process_, nullptr)->deleteLater();
    nsm_.forgetClient();
    if (!recordFile().isEmpty()) DawRecord::remove(recordFile());
    dialogPoll_.stop();
    question_.clear();
    if (quitting_) return;
    if (endedByUs_) {
        launch(); // ended by Gigmora, not a death
        return;
    }
    // What it was doing comes back with it.
    if (!loading_.isEmpty() && waiting_.isEmpty()) waiting_ = loading_;
    loading_.clear();
    saving_ = false;
    fromStage_ = false;
    const QString said = lastLine.isEmpty() ? QString() : QStringLiteral(": ") + lastLine;
    const QString lastWords = lastLine.isEmpty() ? QString() : "; its last line: " + lastLine;
    if (ending == DawProcess::Ending::Quit) {
        // It chose to stop (its own Quit, or an error it reports): starting it again at once
        // would only repeat that. The next song asked for starts it.
        qCWarning(lcDaw).noquote()
            << dawName() + " quit on its own with status " + QString::number(status) + lastWords;
        givenUp_ = true;
        setState(QStringLiteral("%1 quit (status %2)%3; it starts again with the next song")
                     .arg(dawName())
                     .arg(status)
                     .arg(said));
        return;
    }
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    deaths_.push_back(now);
    while (!deaths_.empty() && now - deaths_.front() > kDeathWindowMs)
        deaths_.pop_front();
    qCWarning(lcDaw).noquote() << dawName() +
                                      (ending == DawProcess::Ending::Crashed ? " crashed"
                                                                             : " has gone away") +
                                      lastWords;
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
    dialogPoll_.stop();
    if (ending_) ending_->stopAndWait(graceMs);
    if (!process_) return;
    process_->disconnect(this);
    process_->stopAndWait(graceMs);
    delete std::exchange(process_, nullptr);
    if (options_.runtimeFolder.isEmpty()) return;
    // A clean end leaves nothing for the next Gigmora to take over or read.
    DawRecord::remove(recordFile());
    QFile::remove(outputFile());
    QDir().rmdir(options_.runtimeFolder);
}
