#pragma once

#include <QObject>
#include <memory>

class QSocketNotifier;

// Turns SIGINT and SIGTERM into a signal on the main thread (a self-pipe; the handler only
// writes one byte).
class UnixSignalWatcher : public QObject {
    Q_OBJECT
public:
    explicit UnixSignalWatcher(QObject* parent = nullptr);
    ~UnixSignalWatcher() override;

signals:
    void terminationRequested(int signalNumber);

private:
    std::unique_ptr<QSocketNotifier> notifier_;
};
