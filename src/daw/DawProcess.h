#pragma once

#include <QFile>
#include <QObject>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTimer>
#include <memory>

class QProcess;
class QSocketNotifier;

// One running DAW: a process Gigmora started, or one a Gigmora before it started and left
// behind (taken over by its process id). Its output goes to a file, not a pipe, so that the
// DAW outlives a Gigmora that crashes; the file is read as it grows and each line logged. It
// says how the DAW ended: killed, quit on its own (with its status), or gone without a word.
class DawProcess : public QObject {
    Q_OBJECT
public:
    enum class Ending { Crashed, Quit, Vanished };

    // `name` starts the DAW's log lines ("Ardour").
    explicit DawProcess(QString name, QObject* parent = nullptr);
    ~DawProcess() override;

    // Starts `program` (the executable and its arguments) with its output in `outputFile`.
    void start(const QStringList& program, const QProcessEnvironment& environment,
               const QString& outputFile);
    // Watches a process started earlier; false when it is not that process any more.
    bool adopt(qint64 pid, qint64 startTime, const QString& outputFile);

    qint64 pid() const { return pid_; }
    qint64 startTime() const { return startTime_; }
    bool running() const { return pid_ != 0; }
    // The last line the DAW wrote.
    QString lastLine() const { return lastLine_; }

    // SIGTERM now, SIGKILL after `graceMs`; `exited` follows.
    void stop(int graceMs);
    // The same, waiting (for quitting): no signal follows.
    void stopAndWait(int graceMs);

    // When the process `pid` was started (in clock ticks since boot), 0 when no such process
    // runs (gone, or a zombie nobody reaped).
    static qint64 startTimeOf(qint64 pid);

signals:
    void exited(DawProcess::Ending ending, int status, const QString& lastLine);
    void failedToStart(const QString& reason);

private:
    void follow(const QString& outputFile, bool fromEnd);
    void readOutput();
    void ended(Ending ending, int status);
    bool waitForEnd(int ms);
    void signal(int sig);

    QString name_;
    std::unique_ptr<QProcess> child_;
    int pidfd_ = -1;
    std::unique_ptr<QSocketNotifier> exitWatch_;
    QTimer poll_; // without a pidfd: looks now and then whether the process still runs
    QTimer killTimer_;
    qint64 pid_ = 0;
    qint64 startTime_ = 0;
    QFile output_;
    QTimer tail_;
    QByteArray partial_;
    QString lastLine_;
};
