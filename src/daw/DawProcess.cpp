#include "daw/DawProcess.h"

#include "daw/DawLog.h"
#include "platform/Guard.h"

#include <QProcess>
#include <QSocketNotifier>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {
constexpr int kTailMs = 250;
constexpr int kPollMs = 250;
constexpr qint64 kLastLineLookBack = 4096;

// Runs in the child between fork and exec: every descriptor Gigmora holds (its JACK client's
// sockets, the library lock, its listening sockets) closes at the exec. A DAW that kept them
// would keep a crashed Gigmora's JACK client alive in the server's eyes, and the server would
// wait for that client in every period: no MIDI, no audio, until the DAW ends.
void closeInheritedDescriptorsOnExec() {
#ifdef SYS_close_range
    constexpr unsigned kCloseRangeCloexec = 1u << 2; // CLOSE_RANGE_CLOEXEC, Linux 5.11
    if (::syscall(SYS_close_range, 3u, ~0u, kCloseRangeCloexec) == 0) return;
#endif
    const long max = ::sysconf(_SC_OPEN_MAX);
    for (int fd = 3; fd < (max > 0 && max < 65536 ? max : 65536); ++fd) {
        const int flags = ::fcntl(fd, F_GETFD);
        if (flags >= 0) ::fcntl(fd, F_SETFD, flags | FD_CLOEXEC);
    }
}

int openPidfd(qint64 pid) {
#ifdef SYS_pidfd_open
    return int(::syscall(SYS_pidfd_open, pid_t(pid), 0));
#else
    return -1;
#endif
}
} // namespace

DawProcess::DawProcess(QString name, QObject* parent) : QObject(parent), name_(std::move(name)) {
    tail_.setInterval(kTailMs);
    connect(&tail_, &QTimer::timeout, this,
            [this] { guarded("DawProcess::readOutput", [this] { readOutput(); }); });
    poll_.setInterval(kPollMs);
    connect(&poll_, &QTimer::timeout, this, [this] {
        if (startTimeOf(pid_) != startTime_) ended(Ending::Vanished, -1);
    });
    killTimer_.setSingleShot(true);
    connect(&killTimer_, &QTimer::timeout, this, [this] { signal(SIGKILL); });
}

DawProcess::~DawProcess() {
    if (child_) {
        // Its end is not news any more; QProcess would kill it, which is what is wanted here.
        child_->disconnect(this);
    }
    if (pidfd_ >= 0) ::close(pidfd_);
}

qint64 DawProcess::startTimeOf(qint64 pid) {
    if (pid <= 0) return 0;
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly)) return 0;
    const QByteArray line = stat.readAll();
    // The command name is in parentheses and may hold spaces; the fields follow the last ')'.
    const qsizetype close = line.lastIndexOf(')');
    if (close < 0) return 0;
    const QList<QByteArray> fields = line.mid(close + 2).split(' ');
    // fields[0] is the state (the third field of the line), the start time the 22nd.
    if (fields.size() < 20) return 0;
    if (fields[0] == "Z" || fields[0] == "X") return 0;
    return fields[19].toLongLong();
}

void DawProcess::start(const QStringList& program, const QProcessEnvironment& environment,
                       const QString& outputFile) {
    child_ = std::make_unique<QProcess>();
    child_->setProcessEnvironment(environment);
    child_->setProcessChannelMode(QProcess::MergedChannels);
    child_->setStandardInputFile(QProcess::nullDevice());
    child_->setStandardOutputFile(outputFile, QIODevice::Truncate);
    child_->setChildProcessModifier(closeInheritedDescriptorsOnExec);
    QProcess* p = child_.get();
    connect(p, &QProcess::finished, this, [this](int code, QProcess::ExitStatus status) {
        ended(status == QProcess::CrashExit ? Ending::Crashed : Ending::Quit, code);
    });
    connect(p, &QProcess::errorOccurred, this, [this, p](QProcess::ProcessError e) {
        if (e != QProcess::FailedToStart) return;
        pid_ = 0;
        tail_.stop();
        emit failedToStart(p->errorString());
    });
    p->start(program.value(0), program.mid(1));
    if (!p->waitForStarted(5000)) return; // errorOccurred has said why
    pid_ = p->processId();
    startTime_ = startTimeOf(pid_);
    follow(outputFile, false);
}

bool DawProcess::adopt(qint64 pid, qint64 startTime, const QString& outputFile) {
    if (startTime == 0 || startTimeOf(pid) != startTime) return false;
    pid_ = pid;
    startTime_ = startTime;
    pidfd_ = openPidfd(pid);
    // The pid may have been taken by a new process between the look and the pidfd.
    if (startTimeOf(pid) != startTime) {
        pid_ = 0;
        return false;
    }
    if (pidfd_ >= 0) {
        exitWatch_ = std::make_unique<QSocketNotifier>(pidfd_, QSocketNotifier::Read);
        connect(exitWatch_.get(), &QSocketNotifier::activated, this,
                [this] { ended(Ending::Vanished, -1); });
    } else {
        poll_.start();
    }
    follow(outputFile, true);
    return true;
}

void DawProcess::follow(const QString& outputFile, bool fromEnd) {
    if (outputFile.isEmpty()) return;
    output_.setFileName(outputFile);
    if (!output_.open(QIODevice::ReadOnly)) return;
    if (fromEnd) {
        // What it wrote before was logged by the Gigmora that started it; only its last line
        // is wanted, should it end now.
        const qint64 size = output_.size();
        output_.seek(qMax<qint64>(0, size - kLastLineLookBack));
        const QList<QByteArray> lines = output_.readAll().split('\n');
        for (auto it = lines.rbegin(); it != lines.rend(); ++it)
            if (!it->trimmed().isEmpty()) {
                lastLine_ = QString::fromUtf8(it->trimmed());
                break;
            }
    }
    tail_.start();
}

void DawProcess::readOutput() {
    if (!output_.isOpen()) return;
    partial_ += output_.readAll();
    qsizetype newline;
    while ((newline = partial_.indexOf('\n')) >= 0) {
        const QByteArray line = partial_.left(newline).trimmed();
        partial_.remove(0, newline + 1);
        if (line.isEmpty()) continue;
        lastLine_ = QString::fromUtf8(line);
        qCInfo(lcDaw).noquote() << name_ + ":" << lastLine_;
    }
}

void DawProcess::ended(Ending ending, int status) {
    if (!pid_) return;
    pid_ = 0;
    killTimer_.stop();
    poll_.stop();
    if (exitWatch_) exitWatch_->setEnabled(false);
    readOutput();
    if (!partial_.trimmed().isEmpty()) {
        lastLine_ = QString::fromUtf8(partial_.trimmed());
        qCInfo(lcDaw).noquote() << name_ + ":" << lastLine_;
    }
    partial_.clear();
    tail_.stop();
    output_.close();
    emit exited(ending, status, lastLine_);
}

void DawProcess::signal(int sig) {
    if (!pid_) return;
    // Only the process it was: a pid taken over by another program is left alone.
    if (!child_ && startTimeOf(pid_) != startTime_) return;
    ::kill(pid_t(pid_), sig);
}

void DawProcess::stop(int graceMs) {
    if (!pid_) return;
    signal(SIGTERM);
    killTimer_.start(graceMs);
}

bool DawProcess::waitForEnd(int ms) {
    if (child_) return child_->waitForFinished(ms);
    if (pidfd_ >= 0) {
        pollfd p{pidfd_, POLLIN, 0};
        return ::poll(&p, 1, ms) > 0;
    }
    for (int waited = 0; waited < ms; waited += 20) {
        if (startTimeOf(pid_) != startTime_) return true;
        ::usleep(20000);
    }
    return startTimeOf(pid_) != startTime_;
}

void DawProcess::stopAndWait(int graceMs) {
    if (!pid_) return;
    if (child_) child_->disconnect(this);
    if (exitWatch_) exitWatch_->setEnabled(false);
    poll_.stop();
    killTimer_.stop();
    signal(SIGTERM);
    if (!waitForEnd(graceMs)) {
        signal(SIGKILL);
        waitForEnd(1000);
    }
    readOutput();
    tail_.stop();
    pid_ = 0;
}
