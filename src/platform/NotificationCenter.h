#pragma once

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>
#include <vector>

struct Notification {
    QString name;
    QObject* object = nullptr;
};

// Loose coupling by name, always on the main thread; observers run inside the guard.
class NotificationCenter {
public:
    using Handler = std::function<void(const Notification&)>;

    static NotificationCenter& defaultCenter();

    // The observation ends when `receiver` is destroyed or removeObserver is called.
    void addObserver(QObject* receiver, const QString& name, Handler handler);
    void removeObserver(QObject* receiver);
    void post(const QString& name, QObject* object = nullptr);
    int observerCount(const QString& name) const;

private:
    struct Entry {
        QPointer<QObject> receiver;
        Handler handler;
    };
    QHash<QString, std::vector<Entry>> observers_;
};
