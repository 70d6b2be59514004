// A song's own MIDI on recall: from the period in which program change 127 was sent to the
// period in which the last of the song's 16 messages reached a receiving client, over 200
// recalls. Needs a running JACK server (scripts/bench starts one).
#include "app/AppDelegate.h"
#include "library/ManagedObject.h"
#include "library/ObjectContext.h"
#include "library/OrderedRelation.h"
#include "settings/GigmoraConfig.h"
#include "support/JackTestClient.h"
#include "support/LibraryHelpers.h"
#include "support/StageFixture.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <vector>

using namespace helpers;

class SongMessagesBench : public StageFixture {};

TEST_F(SongMessagesBench, Figures) {
    constexpr int kRecalls = 200;
    constexpr int kMessages = 16;
    GigmoraConfig::setMidi({true});
    QStringList paths;
    for (int i = 0; i <= kRecalls; ++i)
        paths << project(QStringLiteral("Song %1.logicx").arg(i));
    makeSetlist(paths);
    ObjectContext& c = *app->managedObjectContext();
    for (ManagedObject* song : songs)
        for (int m = 0; m < kMessages; ++m) {
            ManagedObject* message = c.insertNewObject("MidiMessage");
            message->setValue("mMmessageType", 1);
            message->setValue("mMchannel", 1 + m % 16);
            message->setValue("mMprogOrCcNumber", m);
            message->setValue("mMccValue", 64);
            message->setValue("mMinterface", 100);
            song->mutableOrderedSetValueForKey("midiMessage").addObject(message);
        }
    launch();
    // The same client sends the trigger and hears the song output, so that both are counted
    // in its own periods.
    ASSERT_EQ(jack_connect(midi->client(), "Gigmora Midi:Gigmora Song Output", "gigmora-test:in"),
              0);
    const auto songMessages = [&] {
        std::vector<JackTestClient::Event> out;
        for (auto& e : midi->received())
            if ((e.bytes[0] & 0xF0) == 0xB0 && e.bytes.size() == 3 && e.bytes[2] == 64)
                out.push_back(e);
        return out;
    };
    std::vector<uint64_t> periods, close;
    for (int recall = 0; recall < kRecalls; ++recall) {
        midi->clearReceived();
        const uint64_t before = midi->lastSentCycle();
        midi->send({0xC0, 0x7F});
        // The period it went out in, once the client has written it.
        while (midi->lastSentCycle() == before)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        const uint64_t sent = midi->lastSentCycle();
        // The event loop pumped without pauses, as when it is idle on stage.
        QDeadlineTimer deadline(5000);
        while (songMessages().size() < size_t(kMessages) && !deadline.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        ASSERT_EQ(songMessages().size(), size_t(kMessages))
            << "recall " << recall << ", after " << midi->received().size() << " events";
        periods.push_back(songMessages().back().cycle - sent);
        for (const auto& e : midi->received())
            if (e.bytes[0] == 0xF0) close.push_back(e.cycle - sent);
    }
    std::sort(close.begin(), close.end());
    if (!close.empty())
        std::printf("the DAW's close command of the same recalls: median %llu, at most %llu\n",
                    (unsigned long long)close[close.size() / 2], (unsigned long long)close.back());
    std::sort(periods.begin(), periods.end());
    std::printf("%d recalls of a song with %d messages: trigger -> last message received in a "
                "median of %llu and at most %llu period(s) of 256 frames\n",
                kRecalls, kMessages, (unsigned long long)periods[periods.size() / 2],
                (unsigned long long)periods.back());
}
