#include "app/CommandLine.h"

#include <QTextStream>

QString CommandLine::usage() {
    return QStringLiteral(
        "usage: gigmora [--help | --version]\n"
        "       gigmora export [--json | --pdf FILE] [--setlist NAME]\n"
        "       gigmora check [--setlist NAME] [--json] [--load]\n"
        "\n"
        "Without arguments, opens Gigmora's window: the song library, the setlists and the\n"
        "stage, where a MIDI trigger on \"Gigmora Virtual Input\" moves to the next song.\n"
        "\n"
        "Options:\n"
        "  -h, --help     print this help and exit\n"
        "  --version      print the version and exit\n"
        "\n"
        "Commands:\n"
        "  export         print the library's songs and setlists, or one setlist with\n"
        "                 --setlist NAME; as JSON with --json, as a printable PDF of the\n"
        "                 running order with --pdf FILE. Reads the library, never writes it.\n"
        "  check          check every song of the setlists (or of --setlist NAME) as the DAW\n"
        "                 control would load it: each problem named, each length known, the\n"
        "                 set's total; exits 65 when a song has a problem. Changes nothing.\n"
        "\n"
        "Environment:\n"
        "  GIGMORA_MIDI   jack, alsa or none: the MIDI system (by default a running JACK\n"
        "                 server, else the ALSA sequencer)\n"
        "\n"
        "See gigmora(1).\n");
}

QString CommandLine::version() {
    return QStringLiteral("gigmora " GIGMORA_VERSION);
}

std::optional<int> CommandLine::handle(const QStringList& arguments, QTextStream& out,
                                       QTextStream& err) {
    if (arguments.isEmpty()) return std::nullopt;
    const QString& first = arguments.first();
    if (arguments.size() == 1 &&
        (first == QLatin1String("--help") || first == QLatin1String("-h"))) {
        out << usage();
        return 0;
    }
    if (arguments.size() == 1 && first == QLatin1String("--version")) {
        out << version() << '\n';
        return 0;
    }
    err << "gigmora: unknown option or command: " << arguments.join(' ') << "\n\n" << usage();
    return kUsageError;
}
