#include "platform/Pasteboard.h"

#include <QMimeData>

Pasteboard::Pasteboard() : owned_(std::make_unique<QMimeData>()), data_(owned_.get()) {}

Pasteboard::Pasteboard(const QMimeData* data) : data_(data) {}

Pasteboard::~Pasteboard() = default;

QString Pasteboard::mimeFormat(const QString& type) {
    return type == kFileURLType || type == kFilenamesType ? kUriList : type;
}

void Pasteboard::declareTypes(const QStringList& types) {
    declared_ = types;
}

bool Pasteboard::setData(const QByteArray& data, const QString& type) {
    if (!owned_) return false;
    owned_->setData(mimeFormat(type), data);
    return true;
}

void Pasteboard::setFileURLs(const QList<QUrl>& urls) {
    if (owned_) owned_->setUrls(urls);
}

QStringList Pasteboard::types() const {
    QStringList out;
    if (!data_) return out;
    for (const QString& format : data_->formats()) {
        if (format == kUriList) {
            if (!fileURLs().isEmpty()) out << kFileURLType << kFilenamesType;
        } else {
            out << format;
        }
    }
    return out;
}

bool Pasteboard::hasType(const QString& type) const {
    return types().contains(type);
}

QByteArray Pasteboard::dataForType(const QString& type) const {
    return data_ ? data_->data(mimeFormat(type)) : QByteArray();
}

QList<QUrl> Pasteboard::fileURLs() const {
    QList<QUrl> out;
    if (!data_ || !data_->hasUrls()) return out;
    for (const QUrl& url : data_->urls())
        if (url.isLocalFile()) out << url;
    return out;
}

QStringList Pasteboard::filenames() const {
    QStringList out;
    for (const QUrl& url : fileURLs())
        out << url.toLocalFile();
    return out;
}

const QMimeData* Pasteboard::mimeData() const {
    return data_;
}

QMimeData* Pasteboard::takeMimeData() {
    data_ = nullptr;
    return owned_.release();
}
