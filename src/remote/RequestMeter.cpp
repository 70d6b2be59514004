#include "remote/RequestMeter.h"

RequestMeter::Verdict RequestMeter::add(const QByteArray& fresh) {
    bytes_ += fresh.size();
    if (!headersEnded_) {
        // Past the limit nothing more needs to be searched.
        const QByteArray seen = tail_ + fresh.left(limit_ + 4);
        headersEnded_ = seen.contains("\r\n\r\n");
        tail_ = seen.right(3);
    }
    if (bytes_ <= limit_) return Verdict::Fine;
    return headersEnded_ ? Verdict::ContentTooLarge : Verdict::HeadersTooLarge;
}

void RequestMeter::reset() {
    bytes_ = 0;
    tail_.clear();
    headersEnded_ = false;
}
