#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>
#include <memory>

class KeyedCoding;

// Writes an NSKeyedArchiver-shaped binary property list. Numbers and strings are stored
// directly in "$objects"; records carry a "$class"; float, int32 and bool are encoded inline.
class KeyedArchiver {
public:
    KeyedArchiver();
    ~KeyedArchiver();
    KeyedArchiver(const KeyedArchiver&) = delete;
    KeyedArchiver& operator=(const KeyedArchiver&) = delete;

    // Absent (invalid) values are written as a reference to "$null".
    void encodeObject(const QVariant& value, const QString& key);
    void encodeObject(const KeyedCoding* record, const QString& key);
    void encodeOrderedSet(const QList<const KeyedCoding*>& records, const QString& key);
    void encodeFloat(float value, const QString& key);
    void encodeInt32(qint32 value, const QString& key);
    void encodeBool(bool value, const QString& key);

    QByteArray encodedData();
    static QByteArray archivedDataWithRootObject(const QVariant& root);
    static QByteArray archivedDataWithRootObject(const KeyedCoding* root);

private:
    struct State;
    std::unique_ptr<State> d;
};
