#!/usr/bin/env bash
# A set of 20 songs through the standby with two of Debian's Ardour instances: the silent
# periods at Gigmora's outputs beside those of a witness on the same JACK server (two trivial
# clients passing a count), on the server already running (not in real time) and on one of its
# own in real time, with light sessions (a Master bus) and heavy ones (8 stereo tracks of 4
# plugins each).
# bench/standby_set.sh BUILD_DIR
set -uo pipefail
build=$1
realtime="$(cd "$(dirname "$0")/.." && pwd)/tests/with-realtime-jack"
for heavy in 0 8; do
    for server in "" "$realtime"; do
        env GIGMORA_TEST_JACK=1 QT_QPA_PLATFORM=offscreen GIGMORA_TEST_SONGS=20 \
            GIGMORA_TEST_HEAVY=$heavy $server \
            "$build/tests/ardour_standby_test" --gtest_filter='*ASetlistPlaysThrough*' 2>/dev/null |
            grep -E "^(JACK|Silent periods)|FAILED \]"
    done
done
