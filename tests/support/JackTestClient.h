#pragma once

#include <QString>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include <jack/jack.h>
#include <jack/ringbuffer.h>

// A separate JACK client that plays the foot controller and the DAW: it sends to Gigmora's
// input and records what Gigmora's output sends.
class JackTestClient {
public:
    struct Event {
        std::vector<uint8_t> bytes;
    };

    explicit JackTestClient(const char* name = "gigmora-test");
    ~JackTestClient();
    JackTestClient(const JackTestClient&) = delete;
    JackTestClient& operator=(const JackTestClient&) = delete;

    bool isOpen() const { return client_ != nullptr; }
    jack_client_t* client() const { return client_; }
    // Full port name of the MIDI port carrying this unique-ID property, or empty.
    QString portWithUniqueID(int32_t id) const;
    int countPortsNamed(const QString& shortName) const;
    bool portHasUniqueID(const QString& name, int32_t id) const;
    // Our output to Gigmora's input, Gigmora's output to our input.
    bool connect(const QString& gigmoraInput, const QString& gigmoraOutput);
    bool connectToGigmora();

    void send(std::vector<uint8_t> bytes);
    uint64_t lastSentCycle() const { return lastSentCycle_.load(); }
    jack_nframes_t lastSentFrame() const { return lastSentFrame_.load(); } // its first frame
    std::vector<Event> received();
    void clearReceived();
    bool waitForEvents(size_t count, int timeoutMs = 5000);

private:
    static int process(jack_nframes_t nframes, void* arg);
    void drain();

    jack_client_t* client_ = nullptr;
    jack_port_t* out_ = nullptr;
    jack_port_t* in_ = nullptr;
    jack_ringbuffer_t* toSend_ = nullptr;
    jack_ringbuffer_t* got_ = nullptr;
    std::atomic<uint64_t> cycle_{0};
    std::atomic<uint64_t> lastSentCycle_{0};
    std::atomic<jack_nframes_t> lastSentFrame_{0};
    std::mutex mutex_;
    std::vector<Event> events_;
};
