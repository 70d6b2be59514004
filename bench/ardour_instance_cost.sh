#!/usr/bin/env bash
# What a second Ardour instance costs, the standby holding the next song: its memory (RSS, and
# PSS, which counts the libraries it shares with the first once) and its CPU over 20 s, with
# an empty session (a Master bus) and with 8 stereo tracks of 4 bundled plugins each (ACE
# Compressor, EQ, Delay, Reverb). Ardour runs under Gigmora's session manager on the JACK
# server already running, with a display of its own.
# bench/ardour_instance_cost.sh BUILD_DIR
set -euo pipefail
build=$1
work=$(mktemp -d)
display=:$((90 + RANDOM % 9))
Xvfb "$display" -screen 0 1280x800x24 >/dev/null 2>&1 &
xvfb=$!
host=
cleanup() {
    [ -n "$host" ] && kill "$host" 2>/dev/null && wait "$host" 2>/dev/null
    kill $xvfb 2>/dev/null; wait $xvfb 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT
export DISPLAY=$display HOME=$work XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
export XDG_CACHE_HOME=$work/cache XDG_DATA_DIRS=/usr/local/share:/usr/share

ardour7-new_session "$work/Empty" Empty >/dev/null 2>&1
cat >"$work/busy.lua" <<LUA
AudioEngine:set_backend("None (Dummy)", "", "")
AudioEngine:start()
local s = create_session("$work/Busy", "Busy", 48000)
local tracks = s:new_audio_track(1, 2, nil, 8, "Track", ARDOUR.PresentationInfo.max_order,
                                 ARDOUR.TrackMode.Normal, true)
for t in tracks:iter() do
  for i, name in ipairs({"ACE Compressor (stereo)", "ACE EQ", "ACE Delay", "ACE Reverb"}) do
    t:add_processor_by_index(ARDOUR.LuaAPI.new_plugin(s, name, ARDOUR.PluginType.LV2, ""),
                             i - 1, nil, true)
  end
end
s:save_state("", false, false, false, false, false)
close_session()
LUA
ardour7-lua "$work/busy.lua" >/dev/null 2>&1

ticks=$(getconf CLK_TCK)
for session in Empty Busy; do
    "$build/tests/session_manager_host" "$work/run-$session" "$work/$session" ardour \
        >"$work/host.log" 2>&1 &
    host=$!
    for _ in $(seq 1 240); do grep -q '^LOADED' "$work/host.log" && break; sleep 0.5; done
    grep -q '^LOADED' "$work/host.log" || { echo "Ardour did not load $session"; exit 1; }
    sleep 10 # past the work that follows a load
    pid=$(pgrep -n -f '^/usr/lib/ardour7/ardour-')
    cpu() { awk '{print $14 + $15}' "/proc/$pid/stat"; }
    before=$(cpu)
    sleep 20
    after=$(cpu)
    rss=$(awk '/^Rss:/ {print $2}' "/proc/$pid/smaps_rollup")
    pss=$(awk '/^Pss:/ {print $2}' "/proc/$pid/smaps_rollup")
    awk -v s="$session" -v r="$rss" -v p="$pss" -v c="$((after - before))" -v t="$ticks" \
        'BEGIN { printf "Ardour instance, %s session: RSS %d MiB, PSS %d MiB, CPU %.1f%% of one core (idle, transport stopped)\n", s, r / 1024, p / 1024, 100 * c / t / 20 }'
    kill "$host"; wait "$host" 2>/dev/null || true
    host=
done
