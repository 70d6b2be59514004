#pragma once

#include <QImage>
#include <QString>

// A QR code for a phone's camera, drawn black on white with a quiet zone.
class QrCode {
public:
    // Null when the text does not fit in a QR code.
    static QImage render(const QString& text, int moduleSize = 4);
};
