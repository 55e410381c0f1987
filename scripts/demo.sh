#!/usr/bin/env bash
# Runs the daemon for a minute of virtual time on the emulated device, beneath the packets of an
# encoder, and leaves in out/ the stream that leaves the board, and what is in its tables.
# Installs what is missing (Debian packages).
. "$(dirname "$0")/common.sh"

need_packages "${build_packages[@]}" ffmpeg tshark
build release
mkdir -p out

say "making an encoder stream: a minute of H.264 on PID 4113, at a constant rate"
ffmpeg -v error -y -f lavfi -i "testsrc2=size=720x576:rate=25" -t 60 \
    -c:v libx264 -preset ultrafast -pix_fmt yuv420p -b:v 1500k -maxrate 1500k -bufsize 1500k \
    -f mpegts -muxrate 4000k -streamid 0:4113 out/encoder.ts || fail "ffmpeg could not make the encoder stream"

say "running the daemon"
set -a
# shellcheck source=../samples/settings.env
. samples/settings.env
set +a
build/release/bin/epld-emulator --start "2026-11-18 14:05:09" --duration 60 \
    --encoder out/encoder.ts --stream out/demo.ts --record out/demo.bus -- tsinsertd ||
    fail "the run was not sound: the summary above says why"

say "reading the tables back with tshark"
scripts/list-tables.sh out/demo.ts >out/demo-tables.txt || fail "tshark could not read out/demo.ts"
cat out/demo-tables.txt

say "out/demo.ts: the stream, for any player; out/demo-tables.txt: its tables; out/demo.bus: every request on the bus"
