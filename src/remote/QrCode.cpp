#include "remote/QrCode.h"

#include <QPainter>
#include <memory>
#include <qrencode.h>

namespace {
constexpr int kQuietModules = 4;
struct QrFree {
    void operator()(QRcode* code) const { QRcode_free(code); }
};
} // namespace

QImage QrCode::render(const QString& text, int moduleSize) {
    const std::unique_ptr<QRcode, QrFree> code(
        QRcode_encodeString(text.toUtf8().constData(), 0, QR_ECLEVEL_M, QR_MODE_8, 1));
    if (!code) return {};
    const int modules = code->width + 2 * kQuietModules;
    QImage image(modules * moduleSize, modules * moduleSize, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    for (int y = 0; y < code->width; ++y)
        for (int x = 0; x < code->width; ++x)
            if (code->data[y * code->width + x] & 1)
                painter.fillRect((x + kQuietModules) * moduleSize, (y + kQuietModules) * moduleSize,
                                 moduleSize, moduleSize, Qt::black);
    return image;
}
