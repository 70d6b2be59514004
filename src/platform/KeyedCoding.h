#pragma once

#include <QMetaType>
#include <QStringList>

class KeyedArchiver;

// A record that writes itself into a keyed archive under its class names.
class KeyedCoding {
public:
    virtual ~KeyedCoding() = default;
    // Most derived first, as the archive's "$classes" lists them.
    virtual QStringList archiveClassNames() const = 0;
    virtual void encodeWithCoder(KeyedArchiver& coder) const = 0;
};
Q_DECLARE_METATYPE(KeyedCoding*)
