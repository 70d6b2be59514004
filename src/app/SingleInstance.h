#pragma once

#include <QObject>
#include <QString>
#include <memory>

class QLocalServer;
class QLockFile;

// One Gigmora per library: the first holds a lock beside the store and listens; a second one
// finds the lock taken, asks the first to raise its window and gives up before it reads the
// store. A lock left by a crash (its process gone) is taken over.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    // `folder` is the store's folder; the lock lives there.
    explicit SingleInstance(const QString& folder, QObject* parent = nullptr);
    ~SingleInstance() override;

    // True when this process is the one; otherwise the running one has been asked to come
    // forward.
    bool acquire();

signals:
    void raiseRequested();

private:
    void listen();
    bool askRunningToRaise() const;

    QString folder_;
    QString serverName_;
    std::unique_ptr<QLockFile> lock_;
    QLocalServer* server_ = nullptr;
};
