#include "platform/FontFaces.h"

#include <QDir>
#include <QFontDatabase>

void FontFaces::load() {
    static const bool loaded = [] {
        for (const QString& file : QDir(":/fonts").entryList({"*.otf", "*.ttf"}))
            QFontDatabase::addApplicationFont(":/fonts/" + file);
        return true;
    }();
    Q_UNUSED(loaded);
}

QFont FontFaces::font(const QString& faceName, qreal points) {
    load();
    const qsizetype dash = faceName.lastIndexOf('-');
    const QString family = dash > 0 ? faceName.left(dash) : faceName;
    QString style = dash > 0 ? faceName.mid(dash + 1) : QStringLiteral("Regular");
    // Debian's Dosis has no face called Regular: its regular weight is the one called Book.
    if (family == QLatin1String("Dosis") && style == QLatin1String("Regular"))
        style = QStringLiteral("Book");
    QFont font = QFontDatabase::font(family, style, qRound(points));
    font.setPointSizeF(points);
    return font;
}
