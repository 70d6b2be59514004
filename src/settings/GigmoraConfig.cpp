#include "settings/GigmoraConfig.h"

#include "settings/SettingsLog.h"

#include <QDir>
#include <QHostAddress>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <optional>

QStringList GigmoraConfig::listOf(const QVariant& v) {
    const QStringList parts = v.typeId() == QMetaType::QStringList
                                  ? v.toStringList()
                                  : v.toString().split(QLatin1Char(','));
    QStringList names;
    for (const QString& p : parts)
        names << p.trimmed();
    return names.join(QString()).isEmpty() ? QStringList() : names;
}

namespace {
constexpr const char* kLogic = "logic";
constexpr const char* kSessionManager = "session-manager";
constexpr const char* kTransports[] = {"keep", "stop-old", "play-new"};

// A settings file that cannot be written is said, not taken for saved.
void checkWritten(const QSettings& file) {
    if (file.status() != QSettings::NoError)
        qCWarning(lcStorage).noquote() << "Gigmora.conf could not be written:" << file.fileName();
}

void unusable(const char* key, const QVariant& value, const char* group) {
    qCWarning(lcStorage).noquote() << QStringLiteral("Gigmora.conf: [%1]").arg(group) << key << "="
                                   << value.toString() << "cannot be used; its default stands.";
}

// A whole number from `low` to `high`, else nothing.
auto between(int low, int high) {
    return [low, high](const QVariant& v) -> std::optional<int> {
        bool ok = false;
        const int n = v.toString().toInt(&ok);
        if (ok && n >= low && n <= high) return n;
        return std::nullopt;
    };
}
const auto port = between(0, 65535);

// Text that `valid` accepts, trimmed, else nothing.
template <typename Valid> auto text(Valid valid) {
    return [valid](const QVariant& v) -> std::optional<QString> {
        const QString t = v.toString().trimmed();
        if (valid(t)) return t;
        return std::nullopt;
    };
}

// A list without its empty entries; nothing when none is left.
std::optional<QStringList> list(const QVariant& v) {
    QStringList kept;
    for (const QString& a : v.toStringList())
        if (!a.trimmed().isEmpty()) kept << a.trimmed();
    if (kept.isEmpty()) return std::nullopt;
    return kept;
}

// Port names, from a list or from text with commas; an empty value is an empty list.
std::optional<QStringList> portNames(const QVariant& v) {
    const QStringList names = GigmoraConfig::listOf(v);
    if (names.size() > GigmoraConfig::kMaxChannels) return std::nullopt;
    return names;
}

// Marks without empty entries; at least one when `required`.
auto marks(bool required) {
    return [required](const QVariant& v) -> std::optional<QStringList> {
        QStringList marks = GigmoraConfig::listOf(v);
        marks.removeAll(QString());
        if (required && marks.isEmpty()) return std::nullopt;
        return marks;
    };
}

// "true" or "false", else nothing.
std::optional<bool> boolean(const QVariant& v) {
    const QString text = v.toString().toLower();
    if (text == QLatin1String("true")) return true;
    if (text == QLatin1String("false")) return false;
    return std::nullopt;
}

// One group of the file, read key by key.
class GroupReader {
public:
    explicit GroupReader(const char* group)
        : file_(GigmoraConfig::filePath(), QSettings::IniFormat), group_(group) {
        file_.beginGroup(QLatin1String(group));
    }
    QVariant value(const char* key) const { return file_.value(QLatin1String(key)); }
    // Sets `into` from `key` when `parse` takes its value; says so when it does not.
    template <typename T, typename Parse> void take(const char* key, Parse parse, T& into) const {
        const QVariant v = value(key);
        if (!v.isValid()) return;
        if (const auto parsed = parse(v))
            into = *parsed;
        else
            unusable(key, v, group_);
    }

private:
    QSettings file_;
    const char* group_;
};

// Writes the group's values at once; a file that cannot be written is said.
void store(const char* group, std::initializer_list<std::pair<const char*, QVariant>> values) {
    QSettings file(GigmoraConfig::filePath(), QSettings::IniFormat);
    file.beginGroup(QLatin1String(group));
    for (const auto& [key, value] : values)
        file.setValue(QLatin1String(key), value);
    file.endGroup();
    file.sync();
    checkWritten(file);
}
} // namespace

QStringList GigmoraConfig::Daw::program() const {
    return QProcess::splitCommand(command);
}

QStringList GigmoraConfig::programCommand(const QString& executable) {
    const GroupReader file("programs");
    const QVariant v = file.value(executable.toUtf8().constData());
    // A line with commas comes back as a list: they were part of the command.
    const QStringList command = QProcess::splitCommand(
        v.typeId() == QMetaType::QStringList ? v.toStringList().join(',') : v.toString());
    if (v.isValid() && command.isEmpty()) unusable(executable.toUtf8().constData(), v, "programs");
    return command.isEmpty() ? QStringList{executable} : command;
}

void GigmoraConfig::setProgramCommand(const QString& executable, const QString& command) {
    const QByteArray key = executable.toUtf8();
    store("programs", {{key.constData(), command}});
}

QString GigmoraConfig::filePath() {
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
        .filePath(QStringLiteral("Gigmora/Gigmora.conf"));
}

GigmoraConfig::Daw GigmoraConfig::daw() {
    const GroupReader file("daw");
    Daw daw;
    const auto control = [](const QVariant& v) -> std::optional<Daw::Control> {
        if (v.toString() == QLatin1String(kSessionManager)) return Daw::Control::SessionManager;
        if (v.toString() == QLatin1String(kLogic)) return Daw::Control::Logic;
        return std::nullopt;
    };
    file.take("control", control, daw.control);
    file.take("command",
              text([](const QString& c) { return !QProcess::splitCommand(c).isEmpty(); }),
              daw.command);
    file.take("saveBeforeSwitch", boolean, daw.saveBeforeSwitch);
    file.take("loadTimeout", between(1, kMaxLoadTimeoutSeconds), daw.loadTimeoutSeconds);
    file.take("standby", boolean, daw.standby);
    file.take("outputs", portNames, daw.outputs);
    file.take("mainOutputs", marks(true), daw.mainOutputs);
    file.take("directOutputs", marks(false), daw.directOutputs);
    file.take("crossfade", between(0, kMaxCrossfadeSamples), daw.crossfadeSamples);
    file.take("spillover", between(0, kMaxSpilloverMs), daw.spilloverMs);
    const auto transport = [](const QVariant& v) -> std::optional<Daw::Transport> {
        for (int t = 0; t < 3; ++t)
            if (v.toString() == QLatin1String(kTransports[t])) return Daw::Transport(t);
        return std::nullopt;
    };
    file.take("transportOnSwitch", transport, daw.transportOnSwitch);
    return daw;
}

void GigmoraConfig::setDaw(const Daw& daw) {
    const bool managed = daw.control == Daw::Control::SessionManager;
    store("daw",
          {{"control", QString::fromLatin1(managed ? kSessionManager : kLogic)},
           {"command", daw.command},
           {"saveBeforeSwitch", daw.saveBeforeSwitch},
           {"loadTimeout", daw.loadTimeoutSeconds},
           {"standby", daw.standby},
           {"outputs", daw.outputs.join(QStringLiteral(", "))},
           {"mainOutputs", daw.mainOutputs.join(QStringLiteral(", "))},
           {"directOutputs", daw.directOutputs.join(QStringLiteral(", "))},
           {"crossfade", daw.crossfadeSamples},
           {"spillover", daw.spilloverMs},
           {"transportOnSwitch", QString::fromLatin1(kTransports[int(daw.transportOnSwitch)])}});
}

GigmoraConfig::Midi GigmoraConfig::midi() {
    const GroupReader file("midi");
    Midi midi;
    file.take("sendSongMessages", boolean, midi.sendSongMessages);
    return midi;
}

void GigmoraConfig::setMidi(const Midi& midi) {
    store("midi", {{"sendSongMessages", midi.sendSongMessages}});
}

GigmoraConfig::Osc GigmoraConfig::osc() {
    const GroupReader file("osc");
    Osc osc;
    file.take("enabled", boolean, osc.enabled);
    file.take("port", port, osc.port);
    file.take("allow", list, osc.allow);
    return osc;
}

void GigmoraConfig::setOsc(const Osc& osc) {
    store("osc", {{"enabled", osc.enabled}, {"port", osc.port}, {"allow", osc.allow}});
}

bool GigmoraConfig::isPin(const QString& text) {
    static const QRegularExpression digits(QStringLiteral("^[0-9]{4,8}$"));
    return digits.match(text).hasMatch();
}

QString GigmoraConfig::makePin() {
    return QStringLiteral("%1").arg(QRandomGenerator::system()->bounded(1000000), 6, 10,
                                    QLatin1Char('0'));
}

GigmoraConfig::Remote GigmoraConfig::remote() {
    const GroupReader file("remote");
    Remote remote;
    file.take("enabled", boolean, remote.enabled);
    file.take("port", port, remote.port);
    if (const QVariant v = file.value("pin"); v.isValid()) {
        if (isPin(v.toString()))
            remote.pin = v.toString();
        else
            qCWarning(lcStorage).noquote()
                << "Gigmora.conf: [remote] pin must be 4 to 8 digits; a new one will be made.";
    }
    file.take("address",
              text([](const QString& a) { return a.isEmpty() || !QHostAddress(a).isNull(); }),
              remote.address);
    return remote;
}

void GigmoraConfig::setRemote(const Remote& remote) {
    store("remote", {{"enabled", remote.enabled},
                     {"port", remote.port},
                     {"pin", remote.pin},
                     {"address", remote.address}});
}
