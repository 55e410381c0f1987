#!/usr/bin/env bash
# Counts the instructions of the kernels on ARM cores, the plain form beside the fast one: cross compilers
# make them, qemu runs them and writes a line for each instruction. Takes ten minutes. Usage: bench/count-arm.sh
. "$(dirname "$0")/../scripts/common.sh"

need_packages "${build_packages[@]}" fonts-liberation g++-arm-linux-gnueabi g++-arm-linux-gnueabihf qemu-user

build bench
work=$(mktemp -d)
trap 'rm -r "$work"' EXIT
build/bench/bin/measure dump "$work" || fail "the pictures cannot be written"

# Instructions of the kernel in an operation.
count() {
    qemu-arm -singlestep -d exec,nochain "$work/kernels" "$1" "$work/$2" "$3" 2>&1 | grep -c '^Trace'
}

row() {
    local what=$1 plain=$2 ours=$3
    awk -v what="$what" -v plain="$plain" -v ours="$ours" 'BEGIN {
        printf "%-24s %12.0f %12.0f %7.3f\n", what, plain, ours, ours / plain
    }'
}

table() {
    local title=$1 compiler=$2 begin
    shift 2
    "$compiler" -std=c++20 -O3 -DNDEBUG -fno-exceptions "$@" -Isrc/dvbsub -Isrc/data -Ibench/plain -static \
        src/dvbsub/*.cpp bench/plain/*.cpp bench/kernels.cpp bench/kernels_main.cpp -o "$work/kernels" || fail "$compiler cannot build the kernels"
    printf '\n%s\n%-24s %12s %12s %7s\n' "$title" "" plain ours ratio
    for picture in banner text photograph artwork; do
        begin=$(count none "$picture" fast)
        row "conversion of $picture" $(($(count convert "$picture" plain) - begin)) \
            $(($(count convert "$picture" fast) - begin))
    done
    begin=$(count convert banner fast)
    row "pixel coding of banner" $(($(count code banner plain) - begin)) $(($(count code banner fast) - begin))
}

table "ARMv5TE, no vectors, no floating-point unit" arm-linux-gnueabi-g++ -march=armv5te
table "Cortex-A9 with NEON" arm-linux-gnueabihf-g++ -mcpu=cortex-a9 -mfpu=neon
