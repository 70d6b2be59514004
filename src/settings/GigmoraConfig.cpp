#include "settings/GigmoraConfig.h"

#include "settings/SettingsLog.h"

#include <QDir>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>

namespace {
constexpr const char* kLogic = "logic";
constexpr const char* kSessionManager = "session-manager";

void unusable(const char* key, const QVariant& value) {
    qCWarning(lcStorage).noquote() << "Gigmora.conf: [daw]" << key << "=" << value.toString()
                                   << "cannot be used; its default stands.";
}
} // namespace

QStringList GigmoraConfig::Daw::program() const {
    return QProcess::splitCommand(command);
}

QString GigmoraConfig::filePath() {
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
        .filePath(QStringLiteral("Gigmora/Gigmora.conf"));
}

GigmoraConfig::Daw GigmoraConfig::daw() {
    QSettings file(filePath(), QSettings::IniFormat);
    file.beginGroup(QStringLiteral("daw"));
    Daw daw;
    if (const QVariant v = file.value(QStringLiteral("control")); v.isValid()) {
        if (v.toString() == QLatin1String(kSessionManager))
            daw.control = Daw::Control::SessionManager;
        else if (v.toString() != QLatin1String(kLogic))
            unusable("control", v);
    }
    if (const QVariant v = file.value(QStringLiteral("command")); v.isValid()) {
        const QString command = v.toString().trimmed();
        if (!command.isEmpty() && !QProcess::splitCommand(command).isEmpty())
            daw.command = command;
        else
            unusable("command", v);
    }
    if (const QVariant v = file.value(QStringLiteral("saveBeforeSwitch")); v.isValid()) {
        const QString text = v.toString().toLower();
        if (text == QLatin1String("true") || text == QLatin1String("false"))
            daw.saveBeforeSwitch = text == QLatin1String("true");
        else
            unusable("saveBeforeSwitch", v);
    }
    if (const QVariant v = file.value(QStringLiteral("loadTimeout")); v.isValid()) {
        bool ok = false;
        const int seconds = v.toString().toInt(&ok);
        if (ok && seconds >= 1 && seconds <= kMaxLoadTimeoutSeconds)
            daw.loadTimeoutSeconds = seconds;
        else
            unusable("loadTimeout", v);
    }
    return daw;
}

void GigmoraConfig::setDaw(const Daw& daw) {
    QSettings file(filePath(), QSettings::IniFormat);
    file.beginGroup(QStringLiteral("daw"));
    file.setValue(QStringLiteral("control"), QString::fromLatin1(
                                                 daw.control == Daw::Control::SessionManager
                                                     ? kSessionManager
                                                     : kLogic));
    file.setValue(QStringLiteral("command"), daw.command);
    file.setValue(QStringLiteral("saveBeforeSwitch"), daw.saveBeforeSwitch);
    file.setValue(QStringLiteral("loadTimeout"), daw.loadTimeoutSeconds);
    file.endGroup();
    file.sync();
}
