#pragma once

#include <QByteArray>
#include <QList>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <memory>

class QMimeData;

// A drag's payload, over QMimeData. Type strings are used as MIME formats as they are; file
// names and file URLs both travel as text/uri-list of local files, which is what file
// managers send and take.
class Pasteboard {
public:
    static inline const QString kFileURLType = QStringLiteral("public.file-url");
    static inline const QString kFilenamesType = QStringLiteral("NSFilenamesPboardType");
    static inline const QString kUriList = QStringLiteral("text/uri-list");

    Pasteboard();                               // a new, empty payload to write
    explicit Pasteboard(const QMimeData* data); // reads a payload that someone else owns
    ~Pasteboard();
    Pasteboard(const Pasteboard&) = delete;
    Pasteboard& operator=(const Pasteboard&) = delete;

    // The MIME format a type string travels as.
    static QString mimeFormat(const QString& type);

    void declareTypes(const QStringList& types);
    bool setData(const QByteArray& data, const QString& type);
    void setFileURLs(const QList<QUrl>& urls);

    QStringList types() const; // as type strings, file types once each
    bool hasType(const QString& type) const;
    QByteArray dataForType(const QString& type) const;
    QList<QUrl> fileURLs() const;  // local files only
    QStringList filenames() const; // their paths
    const QMimeData* mimeData() const;
    // Hands the written payload over (to a QDrag); the pasteboard then reads it no more.
    QMimeData* takeMimeData();

private:
    std::unique_ptr<QMimeData> owned_;
    const QMimeData* data_;
    QStringList declared_;
};
