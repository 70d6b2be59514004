#pragma once

#include <QByteArray>

// Counts one HTTP request's bytes as they arrive, in whatever pieces the network cuts them,
// and notes whether its headers have ended, so that an oversized request is named rightly.
class RequestMeter {
public:
    enum class Verdict { Fine, HeadersTooLarge, ContentTooLarge };

    explicit RequestMeter(qint64 limit) : limit_(limit) {}

    Verdict add(const QByteArray& fresh);
    // The next request starts.
    void reset();
    qint64 bytes() const { return bytes_; }
    bool headersEnded() const { return headersEnded_; }

private:
    qint64 limit_;
    qint64 bytes_ = 0;
    QByteArray tail_; // the last bytes seen, to find the end of the headers across pieces
    bool headersEnded_ = false;
};
