#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QVariant>
#include <functional>
#include <memory>

class KeyedCoding;

// Reads what KeyedArchiver writes (and NSKeyedArchiver's own archives of the same classes).
// Secure coding is off: objects decode without a class check. Records are built by the
// factory registered for their class name and owned by the unarchiver. Any malformed input
// decodes as absent values; nothing here trusts the bytes.
class KeyedUnarchiver {
public:
    using Factory = std::function<std::unique_ptr<KeyedCoding>(KeyedUnarchiver&)>;

    explicit KeyedUnarchiver(const QByteArray& data);
    ~KeyedUnarchiver();
    KeyedUnarchiver(const KeyedUnarchiver&) = delete;
    KeyedUnarchiver& operator=(const KeyedUnarchiver&) = delete;

    bool isValid() const;
    void registerClass(const QString& className, Factory factory);

    bool containsValue(const QString& key) const;
    // Plain values as QVariant (numbers, strings, QDateTime, QUrl, QVariantList, IndexSet);
    // records as KeyedCoding*; absent, "$null" or unreadable as an invalid QVariant.
    QVariant decodeObject(const QString& key);
    float decodeFloat(const QString& key) const;
    qint32 decodeInt32(const QString& key) const;
    bool decodeBool(const QString& key) const;
    void finishDecoding();

    static QVariant unarchiveObjectWithData(const QByteArray& data);

private:
    struct State;
    std::unique_ptr<State> d;
};
