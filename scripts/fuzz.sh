#!/usr/bin/env bash
# Builds the fuzz targets and runs each for some seconds, from the same inputs and with the same random
# numbers each time. Installs what is missing (Debian packages).
# Usage: scripts/fuzz.sh [seconds for each target, 10 unless told] [targets, all unless told]
. "$(dirname "$0")/common.sh"

all_targets=(articles layout screen drawing encoder tables)
seconds=${1:-10}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || fail "'$seconds' is no number of seconds"
targets=("${@:2}")
[ ${#targets[@]} -gt 0 ] || targets=("${all_targets[@]}")
for target in "${targets[@]}"; do
    [ -f "fuzz/${target}_fuzzer.cpp" ] || fail "there is no target '$target', only: ${all_targets[*]}"
done

need_packages "${build_packages[@]}" "${fuzz_packages[@]}"
build fuzz

# The bytes that a seed describes in the escapes of printf; blanks and what follows a # do not count.
seed_bytes() {
    printf '%b' "$(sed 's/#.*//' "$1" | tr -d ' \n')"
}

# A 16-bit number in the same escapes.
u16() {
    printf '\\x%02X\\x%02X' $(($1 / 256)) $(($1 % 256))
}

# The inputs to start from, in a new folder: those of fuzz/seeds, and the files of the sample shop.
make_seeds() {
    local target=$1 folder=$2 shop=samples/shop seed
    rm -rf "$folder"
    mkdir -p "$folder"
    for seed in fuzz/seeds/"$target"/*; do
        case $seed in
        *.seed) seed_bytes "$seed" >"$folder/$(basename "$seed" .seed)" ;;
        *) cp "$seed" "$folder" ;;
        esac
    done
    case $target in
    articles) { cat $shop/infostv.xml; printf '\fshop-tv-1\f'; cat $shop/referencieltv.xml; } >"$folder/shop" ;;
    layout) { cat $shop/layout.xml; printf '\fprice'; } >"$folder/shop" ;;
    screen) { sed -n '1,/<\/article>/p' $shop/infostv.xml; printf '</infostv>\f'; cat $shop/layout.xml; } >"$folder/shop" ;;
    tables) cp samples/settings.env "$folder" ;;
    drawing)
        for seed in "$shop"/*.png; do # into 44 x 35 pixels at (2, 3) of a display of 200 x 120
            {
                printf '%b' "\\x00\\xC8\\x78\\x02\\x00\\x02\\x00\\x03\\x00\\x2C\\x00\\x23\\x00\\x01$(u16 "$(wc -c <"$seed")")"
                cat "$seed"
            } >"$folder/$(basename "$seed")"
        done
        ;;
    esac
}

# Messages of the daemon go nowhere (-close_fd_mask), the sanitizers' and libFuzzer's into the log.
run_target() {
    local target=$1 place=build/fuzz/$1 log=build/fuzz/$1.log dictionary=()
    [ -f "fuzz/dictionaries/$target" ] && dictionary=(-dict="fuzz/dictionaries/$target")
    make_seeds "$target" "$place/seeds"
    rm -rf "$place/corpus"
    mkdir -p "$place/corpus" "$place/found"
    say "$target: $seconds seconds"
    if ! TMPDIR=$place build/fuzz/bin/fuzz_"$target" "${dictionary[@]}" -max_total_time="$seconds" -seed=1 -timeout=20 \
        -close_fd_mask=3 -print_final_stats=1 -artifact_prefix="$place/found/" "$place/corpus" "$place/seeds" 2>&1 |
        grep -av '^==[0-9]*==WARNING: AddressSanitizer failed to allocate' >"$log"; then
        tail -n 40 "$log" >&2
        fail "$target failed on the input named above; fuzz/README.md says how to go on (all of the log: $log)"
    fi
    awk '/^stat::number_of_executed_units/ { inputs = $2 } /^stat::peak_rss_mb/ { peak = $2 }
        END { printf "   %d inputs, none failed; %d MB at most\n", inputs, peak }' "$log"
}

for target in "${targets[@]}"; do
    run_target "$target"
done
say "no target failed"
