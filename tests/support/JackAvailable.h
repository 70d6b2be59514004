#pragma once

#include "midi/backends/jack/JackMidiServices.h"

#include <cstdlib>
#include <gtest/gtest.h>

// The test script starts a JACK server and says so; anywhere else the MIDI tests skip.
#define REQUIRE_JACK()                                                                             \
    do {                                                                                           \
        if (!JackMidiServices::serverIsRunning()) {                                                \
            if (std::getenv("GIGMORA_TEST_JACK"))                                                  \
                FAIL() << "the test script's JACK server is not running";                          \
            GTEST_SKIP() << "no JACK server";                                                      \
        }                                                                                          \
    } while (0)
