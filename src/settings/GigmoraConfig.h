#pragma once

#include <QString>
#include <QStringList>

// Gigmora's own settings beyond the settings archive, in $XDG_CONFIG_HOME/Gigmora/Gigmora.conf
// (INI). An absent file, group or key means the default behaviour; a value that cannot be
// used is read as its default, with one log line.
class QVariant;

class GigmoraConfig {
public:
    // How the DAW is told to change songs.
    struct Daw {
        enum class Control { Logic, SessionManager };
        Control control = Control::Logic; // the close command and the "Logic Pro X" opening
        QString command = QStringLiteral("ardour"); // the DAW the session manager starts
        bool saveBeforeSwitch = false;
        int loadTimeoutSeconds = 60;
        // A second DAW holds the next song loaded; Gigmora's audio router swaps which one is
        // heard (with the session manager only).
        bool standby = false;
        // Where each of the router's channels goes (an empty entry: nowhere); as many channels
        // as entries, at least two.
        QStringList outputs{QStringLiteral("system:playback_1"),
                            QStringLiteral("system:playback_2")};
        // What marks a DAW's routed outputs, in channel order (Ardour's Master bus, then a
        // bus of cues, say): each mark's ports are the next channels.
        QStringList mainOutputs{QStringLiteral("Master/audio_out")};
        // DAW outputs left connected as the session has them, heard past the router.
        QStringList directOutputs;
        int crossfadeSamples = 64; // the equal-power crossfade at a swap
        int spilloverMs = 0;       // how long the song left behind rings on, fading
        // What the DAWs' transports are told at a swap (MIDI Machine Control); in this order
        // in the preferences.
        enum class Transport { Keep, StopOld, PlayNew };
        Transport transportOnSwitch = Transport::Keep;
        bool operator==(const Daw&) const = default;

        // The command split as a desktop entry's Exec line is (quotes, no shell).
        QStringList program() const;
    };
    static constexpr int kMaxLoadTimeoutSeconds = 600;
    static constexpr int kMaxCrossfadeSamples = 48000;
    static constexpr int kMaxSpilloverMs = 10000;
    static constexpr int kMaxChannels = 32; // through the router

    // MIDI beyond the engine's fixed messages.
    struct Midi {
        // Each song's own messages go out on "Gigmora Song Output" when it is recalled.
        bool sendSongMessages = false;
    };

    // The OSC control surface (TouchOSC, Open Stage Control): off unless asked for.
    struct Osc {
        bool enabled = false;
        int port = 8000; // 0: any free port
        QStringList allow{QStringLiteral("127.0.0.1"), QStringLiteral("::1")};
    };

    // The web remote: the running order on the band's phones. Off unless asked for; a browser
    // reads or controls nothing until it gave the PIN.
    struct Remote {
        bool enabled = false;
        int port = 8765;
        QString pin;     // 4 to 8 digits; empty: none yet
        QString address; // the interface listened on; empty: every interface
        bool operator==(const Remote&) const = default;
    };
    static bool isPin(const QString& text);
    // A fresh random PIN of six digits.
    static QString makePin();

    static QString filePath();
    // A comma-separated list, each entry trimmed; empty entries are kept (a channel connected
    // nowhere), but a list of nothing but empty entries is empty.
    static QStringList listOf(const QVariant& value);
    static Daw daw();
    static void setDaw(const Daw& daw);
    static Midi midi();
    static void setMidi(const Midi& midi);
    static Osc osc();
    static void setOsc(const Osc& osc);
    static Remote remote();
    static void setRemote(const Remote& remote);
    // [programs]: the command line that starts a program a song folder lists, by its
    // executable ("zynaddsubfx=zynaddsubfx -U -I jack -O jack"); unlisted: the executable.
    static QStringList programCommand(const QString& executable);
    static void setProgramCommand(const QString& executable, const QString& command);
};
