#include "remote/PinGate.h"

#include "platform/PeerAddress.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QRandomGenerator>

namespace {
QByteArray digest(const QString& text) {
    return QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha256);
}

// Equal-length digests compared without an early exit, so the time says nothing of the PIN.
bool sameDigest(const QByteArray& a, const QByteArray& b) {
    unsigned char diff = 0;
    for (qsizetype i = 0; i < a.size(); ++i)
        diff |= static_cast<unsigned char>(a[i] ^ b[i]);
    return diff == 0;
}
} // namespace

PinGate::PinGate(QString pin, std::function<qint64()> clock)
    : pinHash_(digest(pin)), clock_(std::move(clock)) {
    if (!clock_) {
        auto timer = std::make_shared<QElapsedTimer>();
        timer->start();
        // Far from zero, so "locked until 0" is always in the past.
        clock_ = [timer] { return timer->elapsed() + kLockoutMs + 1; };
    }
}

void PinGate::forgetOld(qint64 now) {
    for (auto it = attempts_.begin(); it != attempts_.end();) {
        it->wrongAt.removeIf([&](qint64 t) { return now - t > kWindowMs; });
        if (it->wrongAt.isEmpty() && it->lockedUntil <= now)
            it = attempts_.erase(it);
        else
            ++it;
    }
}

bool PinGate::isLockedOut(const QHostAddress& from) {
    const auto it = attempts_.constFind(plainAddress(from));
    return it != attempts_.constEnd() && it->lockedUntil > clock_();
}

PinGate::Verdict PinGate::check(const QHostAddress& from, const QString& attempt) {
    const qint64 now = clock_();
    forgetOld(now);
    const QHostAddress who = plainAddress(from);
    if (isLockedOut(who)) return Verdict::LockedOut;
    if (sameDigest(digest(attempt), pinHash_)) return Verdict::Accepted;
    // A flood of addresses cannot grow the table without end; the oldest entries go first.
    if (!attempts_.contains(who) && attempts_.size() >= kMaxTrackedAddresses)
        attempts_.erase(attempts_.begin());
    Attempts& a = attempts_[who];
    a.wrongAt.append(now);
    if (a.wrongAt.size() >= kMaxWrong) {
        a.lockedUntil = now + kLockoutMs;
        a.wrongAt.clear();
    }
    return Verdict::Wrong;
}

QString PinGate::openSession() {
    quint32 words[8];
    QRandomGenerator::system()->fillRange(words);
    const QString token =
        QString::fromLatin1(QByteArray(reinterpret_cast<const char*>(words), sizeof words).toHex());
    if (sessions_.size() >= kMaxSessions) sessions_.removeFirst();
    sessions_.append(token);
    return token;
}

bool PinGate::hasSession(const QString& token) const {
    return !token.isEmpty() && sessions_.contains(token);
}
