#pragma once

#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QString>
#include <functional>

// Who may use the remote: a browser that gave the PIN gets a session token. Guessing is slowed
// to nothing: five wrong PINs within a minute from one address shut that address out for a
// minute, the right PIN included.
class PinGate {
public:
    enum class Verdict { Accepted, Wrong, LockedOut };
    static constexpr int kMaxWrong = 5;
    static constexpr qint64 kWindowMs = 60000;
    static constexpr qint64 kLockoutMs = 60000;
    static constexpr qsizetype kMaxSessions = 256;
    static constexpr qsizetype kMaxTrackedAddresses = 4096;

    // `clock` gives milliseconds (tests pass their own to skip the minute).
    explicit PinGate(QString pin, std::function<qint64()> clock = {});

    Verdict check(const QHostAddress& from, const QString& attempt);
    bool isLockedOut(const QHostAddress& from);
    // A new session for a browser that gave the PIN.
    QString openSession();
    bool hasSession(const QString& token) const;

private:
    struct Attempts {
        QList<qint64> wrongAt;
        qint64 lockedUntil = 0;
    };
    void forgetOld(qint64 now);

    QByteArray pinHash_;
    std::function<qint64()> clock_;
    QHash<QHostAddress, Attempts> attempts_;
    QList<QString> sessions_; // oldest first
};
