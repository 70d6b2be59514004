#include "support/RealArdour.h"

#include "support/LibraryHelpers.h"
#include "support/TempHome.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <gtest/gtest.h>

#include <jack/jack.h>

bool titled(const QString& name) {
    QProcess search;
    search.start("xdotool", {"search", "--name", "^\\*?" + name + " - Ardour$"});
    search.waitForFinished(5000);
    return !search.readAllStandardOutput().trimmed().isEmpty();
}

QString ardourSession(const QString& name, int sampleRate, int heavyTracks, int recordMs,
                      bool cues) {
    const QString folder = TempHome::home() + "/sessions/" + name;
    QProcess make;
    if (sampleRate == 48000 && heavyTracks == 0 && recordMs == 0 && !cues) {
        make.start("ardour7-new_session", {folder, name});
    } else {
        const QString script = TempHome::home() + "/make-" + name + ".lua";
        helpers::writeFile(script, QString(R"lua(
local s = create_session("%1", "%2", %3)
local tracks = s:new_audio_track(2, 2, nil, %4, "Track", ARDOUR.PresentationInfo.max_order,
                                 ARDOUR.TrackMode.Normal, true, false)
for t in tracks:iter() do
  for _, name in ipairs({"ACE Compressor (stereo)", "ACE EQ", "ACE Delay", "ACE Reverb"
    }) do
    t:add_processor_by_index(ARDOUR.LuaAPI.new_plugin(s, name, ARDOUR.PluginType.LV2, ""),
                             -1, nil, true)
  end
  if %5 > 0 then t:rec_enable_control():set_value(1, PBD.GroupControlDisposition.NoGroup) end
end
if %6 then
  local buses = s:new_audio_route(2, 2, nil, 1, "Cues", ARDOUR.PresentationInfo.Flag.AudioBus,
                                  ARDOUR.PresentationInfo.max_order)
  ARDOUR.LuaAPI.usleep(1000000) -- its outputs are connected to Master after a moment
  for r in buses:iter() do r:output():disconnect_all(nil) end
end
if %5 > 0 then
  s:maybe_enable_record(false)
  s:request_roll(ARDOUR.TransportRequestSource.TRS_UI)
  ARDOUR.LuaAPI.usleep(%5 * 1000)
  s:request_stop(false, false, ARDOUR.TransportRequestSource.TRS_UI)
  ARDOUR.LuaAPI.usleep(500000)
end
s:save_state("", false, false, false, false, false)
close_session()
quit()
)lua")
                                       .arg(folder, name)
                                       .arg(sampleRate)
                                       .arg(heavyTracks)
                                       .arg(recordMs)
                                       .arg(cues ? "true" : "false")
                                       .toUtf8());
        make.start("ardour7-lua", {script});
    }
    make.waitForFinished(60000);
    EXPECT_TRUE(QFileInfo::exists(folder + "/" + name + ".ardour")) << make.readAll().toStdString();
    return folder;
}

QString copySession(const QString& from, const QString& name,
                    const std::function<void(QByteArray&)>& edit) {
    const QString to = TempHome::home() + "/sessions/" + name;
    QProcess::execute("cp", {"-a", from, to});
    const QString snapshot = to + "/" + QFileInfo(from).fileName() + ".ardour";
    QByteArray xml = helpers::readFile(snapshot);
    if (edit) edit(xml);
    QFile::remove(snapshot);
    helpers::writeFile(to + "/" + name + ".ardour", xml);
    return to;
}

void writeArdourConfig() {
    // The second instance of a standby starts from a copy of it.
    const QString config =
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + "/ardour7";
    helpers::writeFile(config + "/config",
                       "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Ardour><Config/></Ardour>\n");
    // A real-time server and this machine's locked-memory limit, which cannot be raised here,
    // would stop every start on Ardour's warning about it.
    helpers::writeFile(config + "/instant.xml", "<instant><no-memory-warning/></instant>\n");
    ASSERT_TRUE(QFileInfo::exists(config + "/instant.xml"));
}

int ardourProcesses() {
    QProcess count;
    count.start("pgrep", {"-c", "-f", "^/usr/lib/ardour7/ardour-"});
    count.waitForFinished(5000);
    return count.readAllStandardOutput().trimmed().toInt();
}

QStringList dawJackClients(jack_client_t* client) {
    QStringList names;
    if (const char** ports = jack_get_ports(client, nullptr, nullptr, 0)) {
        for (const char** p = ports; *p; ++p) {
            const QString name = QString::fromUtf8(*p).section(':', 0, 0);
            if (!names.contains(name) && name != "system" && !name.startsWith("Gigmora Midi") &&
                name != "Gigmora Audio" && name != "Gigmora Transport" &&
                name != jack_get_client_name(client))
                names << name;
        }
        jack_free(ports);
    }
    return names;
}

void ArdourDisplay::start() {
    for (const char* program : {"ardour", "ardour7-new_session", "ardour7-lua", "xdotool"})
        ASSERT_FALSE(QStandardPaths::findExecutable(program).isEmpty())
            << program << " is not installed (scripts/setup installs it)";
    ASSERT_FALSE(qEnvironmentVariableIsEmpty("GIGMORA_TEST_JACK"))
        << "the real-DAW test needs the test JACK server: run it through scripts/test";
    // The temporary home hides the system's data folders (desktop entries, for the workspace
    // tests); Ardour needs their MIME database to read its own icons.
    qputenv("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
    ASSERT_NO_FATAL_FAILURE(xvfb_.start());
}
