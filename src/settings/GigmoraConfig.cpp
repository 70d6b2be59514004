#include "settings/GigmoraConfig.h"

#include "settings/SettingsLog.h"

#include <QDir>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>
#include <optional>

namespace {
constexpr const char* kLogic = "logic";
constexpr const char* kSessionManager = "session-manager";

// A settings file that cannot be written is said, not taken for saved.
void checkWritten(const QSettings& file) {
    if (file.status() != QSettings::NoError)
        qCWarning(lcStorage).noquote() << "Gigmora.conf could not be written:" << file.fileName();
}

void unusable(const char* key, const QVariant& value, const char* group = "daw") {
    qCWarning(lcStorage).noquote() << QStringLiteral("Gigmora.conf: [%1]").arg(group) << key << "="
                                   << value.toString() << "cannot be used; its default stands.";
}

// "true" or "false", else nothing.
std::optional<bool> boolean(const QVariant& v) {
    const QString text = v.toString().toLower();
    if (text == QLatin1String("true")) return true;
    if (text == QLatin1String("false")) return false;
    return std::nullopt;
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
        if (const auto on = boolean(v))
            daw.saveBeforeSwitch = *on;
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
    file.setValue(QStringLiteral("control"),
                  QString::fromLatin1(daw.control == Daw::Control::SessionManager ? kSessionManager
                                                                                  : kLogic));
    file.setValue(QStringLiteral("command"), daw.command);
    file.setValue(QStringLiteral("saveBeforeSwitch"), daw.saveBeforeSwitch);
    file.setValue(QStringLiteral("loadTimeout"), daw.loadTimeoutSeconds);
    file.endGroup();
    file.sync();
    checkWritten(file);
}

GigmoraConfig::Osc GigmoraConfig::osc() {
    QSettings file(filePath(), QSettings::IniFormat);
    file.beginGroup(QStringLiteral("osc"));
    Osc osc;
    if (const QVariant v = file.value(QStringLiteral("enabled")); v.isValid()) {
        if (const auto on = boolean(v))
            osc.enabled = *on;
        else
            unusable("enabled", v, "osc");
    }
    if (const QVariant v = file.value(QStringLiteral("port")); v.isValid()) {
        bool ok = false;
        const int port = v.toString().toInt(&ok);
        if (ok && port >= 0 && port <= 65535)
            osc.port = port;
        else
            unusable("port", v, "osc");
    }
    if (const QVariant v = file.value(QStringLiteral("allow")); v.isValid()) {
        QStringList allow;
        for (const QString& a : v.toStringList())
            if (!a.trimmed().isEmpty()) allow << a.trimmed();
        if (!allow.isEmpty())
            osc.allow = allow;
        else
            unusable("allow", v, "osc");
    }
    return osc;
}

void GigmoraConfig::setOsc(const Osc& osc) {
    QSettings file(filePath(), QSettings::IniFormat);
    file.beginGroup(QStringLiteral("osc"));
    file.setValue(QStringLiteral("enabled"), osc.enabled);
    file.setValue(QStringLiteral("port"), osc.port);
    file.setValue(QStringLiteral("allow"), osc.allow);
    file.endGroup();
    file.sync();
    checkWritten(file);
}
