#!/usr/bin/env bash
# Runs the sample shop for a minute of virtual time on the emulated device, beneath the packets of an
# encoder, and leaves in out/ the stream that leaves the board, a page with all screens, what a viewer sees
# of each service, and what is in the tables. Installs what is missing (Debian packages).
. "$(dirname "$0")/common.sh"

need_packages "${build_packages[@]}" fonts-liberation ffmpeg tshark
build release
mkdir -p out
rm -f out/screen-*.png out/demo* out/index.html

say "making an encoder stream: a minute of H.264 on PID 4113 and AAC on PID 4352, at a constant rate"
ffmpeg -v error -y -t 60 \
    -f lavfi -i "gradients=size=720x576:rate=25:speed=0.008:nb_colors=4:c0=0x16324f:c1=0x2a6f97:c2=0x61a5c2:c3=0xf2cc8f:seed=7" \
    -f lavfi -i "anullsrc=sample_rate=48000" \
    -t 60 -c:v libx264 -preset ultrafast -pix_fmt yuv420p -b:v 1500k -maxrate 1500k -bufsize 1500k \
    -c:a aac -b:a 64k -f mpegts -muxrate 4000k -streamid 0:4113 -streamid 1:4352 out/encoder.ts ||
    fail "ffmpeg could not make the encoder stream"

say "running the daemon with the sample shop"
unset "${!PREF_@}" # settings of whoever calls this
set -a
# shellcheck source=../samples/shop/settings.env
. samples/shop/settings.env
set +a
build/release/bin/epld-emulator --resources samples/shop --start "2026-11-18 14:05:09" --bus-clock 400000 \
    --encoder out/encoder.ts --stream out/demo.ts --record out/demo.bus -- tsinsertd ||
    fail "the run was not sound: the summary above says why"

say "reading the tables back with tshark"
scripts/list-tables.sh out/demo.ts >out/demo-tables.txt || fail "tshark could not read out/demo.ts"
for table in "Program Association" "Program Map" "Network Information" "Service Description" "Event Information" \
    "Time and Date" "Time Offset"; do
    grep -q "$table Table" out/demo-tables.txt || fail "tshark finds no $table Table in out/demo.ts"
done

say "decoding every service with ffmpeg"
services=$(ffprobe -v error -select_streams s -show_entries stream=index -of csv=p=0 out/demo.ts | sort -u | grep -c .)
[ "$services" -gt 0 ] || fail "ffprobe found no subtitles in out/demo.ts"
graph="[0:v]split=$services" overlays="" outputs=()
for ((i = 0; i < services; ++i)); do
    graph+="[video$i]"
    overlays+=";[video$i][0:s:$i]overlay,trim=start=20[screen$i]"
    outputs+=(-map "[screen$i]" -frames:v 1 -update 1 "out/screen-$i.png")
done
ffmpeg -v error -y -t 24 -i out/demo.ts -filter_complex "$graph$overlays" "${outputs[@]}" ||
    fail "ffmpeg could not decode the services of out/demo.ts"
ffmpeg -v error -y -t 24 -i out/demo.ts -vf trim=start=20 -frames:v 1 -update 1 out/screen-none.png
pictures=$(md5sum out/screen-*.png | cut -d " " -f 1 | sort -u | wc -l)
say "writing a page with all screens"
build/release/bin/tsinsert-preview --resources samples/shop --background out/screen-none.png --html out >out/preview.txt ||
    fail "tsinsert-preview found something broken: see out/preview.txt"
rm out/screen-none.png
[ "$pictures" -eq $((services + 1)) ] || fail "ffmpeg does not show $services different subtitles of out/demo.ts"

say "out/demo.ts: the stream, for any player; choose one of its $services subtitles
   out/index.html: a page with all screens, for any browser; out/preview.txt: the same in words
   out/screen-0.png to out/screen-$((services - 1)).png: what a viewer sees of each service
   out/demo-tables.txt: the tables; out/demo.bus: every request on the bus"
