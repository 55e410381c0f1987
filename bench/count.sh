#!/usr/bin/env bash
# Counts instructions with callgrind, the plain form beside the fast one, and prints a table for each
# build: the baseline of the compiler, the same without vector registers in the kernels, and the vectors of
# this machine. Usage: bench/count.sh
. "$(dirname "$0")/../scripts/common.sh"

need_packages "${build_packages[@]}" valgrind fonts-liberation

# What is measured, the ratio to reach without and with vectors, and the arguments of the program.
rows=(
    "conversion of a banner, 88 x 550|0.45|0.22|measure convert banner"
    "conversion of a text region, 300 x 60|0.18|0.18|measure convert text"
    "conversion of a photograph, 88 x 550|0.85|0.40|measure convert photograph"
    "conversion of flat artwork, 88 x 550|0.05|0.05|measure convert artwork"
    "pixel coding of the banner|0.30|0.30|measure code banner"
    "forty articles, texts and logos differ|0.45|0.38|measure prepare different"
    "forty articles with much in common|0.25|0.22|measure prepare shared"
)

# Builds the programs into build/count-NAME with more arguments for cmake.
build_counted() {
    local name=$1 log=build/count-$1.log
    shift
    mkdir -p build
    { cmake -S . -B "build/count-$name" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTSINSERTD_TESTS=OFF -DTSINSERTD_BENCH=ON "$@" &&
        ninja -C "build/count-$name" measure; } >"$log" 2>&1 || fail "build/count-$name does not build: see $log"
}

# Instructions of one program run that are spent in functions named counted_work, but not in ioctl.
count() {
    local output
    output=$(valgrind --tool=callgrind --callgrind-out-file=/dev/null --toggle-collect=counted_work \
        --toggle-collect=ioctl "$@" 2>&1) || fail "$* failed: $output"
    sed -n 's/.*Collected : \([0-9]\+\).*/\1/p' <<<"$output"
}

# A table of all rows; the second argument says which of the two ratios is the one to reach.
table() {
    local name=$1 column=$2 title=$3 row what targets words plain fast
    printf '\n%s\n%-42s %12s %12s %7s %7s\n' "$title" "" plain ours ratio "at most"
    for row in "${rows[@]}"; do
        IFS='|' read -r what targets[1] targets[2] words <<<"$row"
        read -ra words <<<"$words"
        plain=$(count "build/count-$name/bin/${words[0]}" "${words[@]:1}" plain)
        fast=$(count "build/count-$name/bin/${words[0]}" "${words[@]:1}" fast)
        awk -v what="$what" -v plain="$plain" -v fast="$fast" -v target="${targets[$column]}" 'BEGIN {
            missed = fast > target * plain ? "  missed" : ""
            printf "%-42s %12.0f %12.0f %7.3f %7s%s\n", what, plain, fast, fast / plain, target, missed
        }'
    done
}

say "building for the baseline, for a core without vectors and for this machine"
build_counted baseline
build_counted core -DTSINSERTD_KERNEL_FLAGS=-mgeneral-regs-only
vectors=native
build_counted vectors "-DCMAKE_CXX_FLAGS=-march=$vectors"
if ! { valgrind -q --tool=none build/count-vectors/bin/measure convert text fast; } >/dev/null 2>&1; then
    say "valgrind does not know all instructions of this machine: x86-64-v3 (AVX2) stands in for it"
    vectors=x86-64-v3
    build_counted vectors "-DCMAKE_CXX_FLAGS=-march=$vectors"
fi

compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' build/count-baseline/CMakeCache.txt)
say "instructions, $("$compiler" --version | head -n 1)"
table baseline 1 "baseline of the compiler's target"
table core 1 "no vector instructions in the kernels (-mgeneral-regs-only)"
table vectors 2 "vectors of the machine (-march=$vectors)"

shop=$(mktemp -d)
trap 'rm -r "$shop"' EXIT
build/count-baseline/bin/measure shop "$shop" shared
sent=$(build/count-baseline/bin/measure cycle "$shop" | tail -n 1)
awk -v sent="$sent" -v instructions="$(count build/count-baseline/bin/measure cycle "$shop")" 'BEGIN {
    split(sent, words, " ")
    printf "\nstreaming cycle of forty services: %s, %.0f instructions for each packet\n", sent, instructions / words[1]
}'
