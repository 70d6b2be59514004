#include "daw/SystemCheck.h"

#include "audio/JackClient.h"

#include <QFile>
#include <sys/resource.h>
#include <unistd.h>

#include <jack/jack.h>

namespace {
QString megabytes(double bytes) {
    return QStringLiteral("%1 MB").arg(qint64(bytes / (1024 * 1024)));
}
} // namespace

SystemCheck SystemCheck::now() {
    SystemCheck c;
    const auto problem = [&c](const QString& line) {
        c.lines << line;
        ++c.problems;
    };
    if (const JackClient client{
            jack_client_open("Gigmora Check", jack_options_t(JackNoStartServer), nullptr)}) {
        c.sampleRate = int(jack_get_sample_rate(client.get()));
        c.lines << QStringLiteral("The JACK server runs at %1 Hz, %2 frames a period.")
                       .arg(*c.sampleRate)
                       .arg(jack_get_buffer_size(client.get()));
        c.ports = takeJackNames(jack_get_ports(client.get(), nullptr, nullptr, 0));
        if (!jack_is_realtime(client.get()))
            problem(QStringLiteral("JACK does not run in real time: start it with -R (QjackCtl: "
                                   "Realtime) as a member of the audio group."));
    } else {
        problem(QStringLiteral("No JACK server runs: start it before the show; the songs' sample "
                               "rates could not be compared."));
    }
    const bool root = geteuid() == 0; // real-time rights whatever the limits say
    rlimit limit{};
    const double memory = double(sysconf(_SC_PHYS_PAGES)) * double(sysconf(_SC_PAGESIZE));
    if (!root && getrlimit(RLIMIT_MEMLOCK, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY &&
        double(limit.rlim_cur) < memory * 0.75)
        problem(QStringLiteral("Only %1 of %2 of memory may be locked: Ardour warns at every "
                               "start. Set memlock unlimited for the audio group in "
                               "/etc/security/limits.d/audio.conf.")
                    .arg(megabytes(double(limit.rlim_cur)), megabytes(memory)));
    if (!root && getrlimit(RLIMIT_RTPRIO, &limit) == 0 && limit.rlim_cur == 0)
        problem(QStringLiteral("Real-time priority is not allowed: add yourself to the audio "
                               "group (sudo adduser $USER audio) and log in again."));
    QFile governor(QStringLiteral("/sys/devices/system/cpu/cpu0/cpufreq/scaling_governor"));
    if (governor.open(QIODevice::ReadOnly)) {
        const QString name = QString::fromLatin1(governor.readAll()).trimmed();
        if (name == QLatin1String("performance"))
            c.lines << QStringLiteral("The CPU runs at full speed (governor \"performance\").");
        else
            problem(QStringLiteral("The CPU governor is \"%1\": the CPU may slow down mid-song. "
                                   "Set \"performance\" for the show (sudo cpupower "
                                   "frequency-set -g performance).")
                        .arg(name));
    }
    return c;
}
