#include "library/ProgramProfile.h"

#include <QFileInfo>

ProgramProfile ProgramProfile::of(const QStringList& command) {
    const QString file = QFileInfo(command.value(0)).fileName();
    const QString lower = file.toLower();
    using Kind = ProjectKind::Kind;
    if (lower.startsWith(QLatin1String("zynaddsubfx")))
        return {QStringLiteral("ZynAddSubFX"), ProjectKind(Kind::ProgramFile, "xmz"), false};
    if (lower.startsWith(QLatin1String("hydrogen")))
        return {QStringLiteral("Hydrogen"), ProjectKind(Kind::SessionFolder, "h2song")};
    if (lower.startsWith(QLatin1String("ardour"))) return {QStringLiteral("Ardour")};
    QString name = file;
    if (!name.isEmpty()) name[0] = name[0].toUpper();
    return {name.isEmpty() ? QStringLiteral("The DAW") : name};
}
