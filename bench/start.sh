#!/usr/bin/env bash
# Shows where the instructions of a start go: the daemon itself, with forty articles, under callgrind on the
# emulated device, up to the first second of insertion. Usage: bench/start.sh [different|shared]
. "$(dirname "$0")/../scripts/common.sh"

need_packages "${build_packages[@]}" valgrind fonts-liberation

kind=${1:-shared}
build bench
bin=$PWD/build/bench/bin
work=$(mktemp -d)
trap 'rm -r "$work"' EXIT
"$bin/measure" shop "$work" "$kind" || fail "usage: bench/start.sh [different|shared]"

# The emulator starts this in the daemon's place, so that only the daemon is counted.
cat >"$work/counted-daemon" <<END
#!/usr/bin/env bash
exec valgrind --tool=callgrind --callgrind-out-file="$work/profile" "$bin/tsinsertd"
END
chmod +x "$work/counted-daemon"

say "running the daemon with forty articles ($kind)"
PREF_SYSTEM_NETWORK_HOSTNAME=shop-tv-1 PREF_SYSTEM_ENCODER_1_DVB_MULTI_SERVICES=true \
    "$bin/epld-emulator" --generation 3 --resources "$work" --duration 1 -- "$work/counted-daemon" \
    >"$work/log" 2>&1 || fail "the run failed: $(tail -n 5 "$work/log")"

# Instructions of a function with all that it calls.
phases=(
    "dynamic linking|_dl_start "
    "XML files and the look for logos|load_services"
    "services: from articles to blocks|prepare_services"
    "  reading, decoding and scaling PNG files|load_image"
    "  painting them|paint_image"
    "  texts, with all of fontconfig|cairo_show_text"
    "  conversion of surfaces to planes|AddSurfaceRegion"
    "  digests of regions|digest_of"
    "  search for the palettes|find_colours"
    "  mapping with error diffusion|map_pixels"
    "  segments and pixel data|encode_object"
    "tables and stream slots, with the emulator|program_device"
)
callgrind_annotate --inclusive=yes --threshold=100 "$work/profile" >"$work/functions"
for phase in "${phases[@]}"; do
    IFS='|' read -r what function <<<"$phase"
    awk -v what="$what" -v name=":$function" 'index($0, name) {
        gsub(",", "", $1)
        printf "%-42s %8.1f million\n", what, $1 / 1000000
        exit
    }' "$work/functions"
done
