#include "app/PerformanceView.h"
#include "daw/DawControl.h"
#include "daw/StandbyDaws.h"
#include "settings/GigmoraConfig.h"
#include "support/AudioProbe.h"
#include "support/LibraryHelpers.h"
#include "support/RealArdour.h"
#include "support/StageFixture.h"

#include <QElapsedTimer>
#include <cmath>
#include <gtest/gtest.h>

#include <jack/jack.h>

using namespace helpers;

// Gapless song changes with Debian's real Ardour, twice: each instance's Master bus gets a
// constant of its own from a feeding client, a listening client hears Gigmora's outputs, and
// program change 127 plays a setlist through. Never skips: without Ardour, Xvfb or the JACK
// server it fails and says why.
class ArdourStandby : public StageFixture {
protected:
    static constexpr float kLevels[2] = {0.25f, 0.5f};

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(display_.start());
        StageFixture::SetUp();
        ASSERT_TRUE(listener_.isOpen() && feeds_[0].isOpen() && feeds_[1].isOpen());
        GigmoraConfig::Daw daw;
        daw.control = GigmoraConfig::Daw::Control::SessionManager;
        daw.standby = true;
        daw.outputs = {listener_.inputName(0), listener_.inputName(1)};
        GigmoraConfig::setDaw(daw);
    }
    // Ardour registers its ports again after every load: the feeds follow them.
    void keepFed() {
        for (int i = 0; i < 2; ++i)
            for (int c = 0; c < 2; ++c)
                jack_connect(feeds_[i].client(), feeds_[i].outputName(c).toUtf8().constData(),
                             QStringLiteral("%1:Master/audio_in %2")
                                 .arg(StandbyDaws::clientId(i))
                                 .arg(c + 1)
                                 .toUtf8()
                                 .constData());
    }
    // Whether the instance's Master bus gets its constant.
    bool fed(int instance) {
        keepFed();
        jack_port_t* port = jack_port_by_name(feeds_[instance].client(),
                                              feeds_[instance].outputName(0).toUtf8().constData());
        return port && jack_port_connected(port) > 0;
    }
    // Which instance the outputs carry now (-1: neither, silence or a mix).
    int heardInstance() {
        keepFed();
        const auto heard = listener_.heard();
        if (heard.empty()) return -1;
        for (int i = 0; i < 2; ++i)
            if (std::abs(heard.back().last - kLevels[i]) < 0.02f) return i;
        return -1;
    }

    ArdourDisplay display_;
    AudioProbe listener_{"stage listener"};
    AudioProbe feeds_[2] = {AudioProbe("feed A", kLevels[0]), AudioProbe("feed B", kLevels[1])};
};

TEST_F(ArdourStandby, ASetlistPlaysThroughWithoutAGap) {
    std::setvbuf(stdout, nullptr, _IONBF, 0); // the figures, even if a later step hangs
    const QStringList names{"Opener", "Ballad", "Encore", "Finale"};
    QStringList sessions;
    for (const QString& name : names)
        sessions << ardourSession(name);
    makeSetlist(sessions);
    launch();
    PerformanceView* stage = app->window()->performanceView();
    const auto stageSays = [&](const QString& text) {
        keepFed();
        return stage->dawState() == text;
    };
    ASSERT_TRUE(waitUntil([&] { return stageSays("Opener playing · next: Ballad ready"); }, 180000))
        << stage->dawState().toStdString();
    ASSERT_TRUE(waitUntil([&] { return heardInstance() == 0; }, 20000))
        << "the first instance at the outputs";
    EXPECT_EQ(ardourProcesses(), 2);
    QStringList clients = dawJackClients(listener_.client());
    for (const char* ours : {"feed A", "feed B", "gigmora-test"})
        clients.removeAll(ours);
    clients.sort();
    EXPECT_EQ(clients, (QStringList{"Gigmora DAW", "Gigmora DAW B"}));

    int expected = 0;
    for (int song = 1; song < names.size(); ++song) {
        expected = 1 - expected;
        ASSERT_TRUE(waitUntil([&] { return fed(expected); }, 20000)) << "the feed of the standby";
        const size_t before = listener_.heard().size();
        midi->send({0xC0, 0x7F});
        ASSERT_TRUE(waitUntil([&] { return heardInstance() == expected; }, 10000))
            << names[song].toStdString() << ": " << stage->dawState().toStdString();
        const auto heard = listener_.heard();
        // Counted in the listener's periods from the one in which the trigger was sent: the
        // dummy driver's frame times are too loose to count with.
        size_t periods = 0;
        for (size_t i = before; i < heard.size(); ++i) {
            EXPECT_GT(std::min(heard[i].first, heard[i].last), 0.2f)
                << names[song].toStdString() << ": a silent period";
            if (std::abs(heard[i].last - kLevels[expected]) < 0.02f) {
                periods = i - before;
                break;
            }
        }
        EXPECT_LE(periods, 2u) << names[song].toStdString();
        std::printf("%s: heard %zu period(s) after the trigger\n", qPrintable(names[song]),
                    periods);
        const QString next =
            song + 1 < names.size() ? " · next: " + names[song + 1] + " ready" : QString();
        QElapsedTimer standby;
        standby.start();
        ASSERT_TRUE(waitUntil([&] { return stageSays(names[song] + " playing" + next); }, 120000))
            << stage->dawState().toStdString();
        std::printf("%s: %s (standby ready after %lld ms)\n", qPrintable(names[song]),
                    qPrintable(stage->dawState()), standby.elapsed());
    }
    EXPECT_EQ(ardourProcesses(), 2);
    EXPECT_TRUE(openedFiles().isEmpty()) << "no desktop entry was run";
}
