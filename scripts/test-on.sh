#!/usr/bin/env bash
# Builds everything for an ARM processor, runs the tests and the sample shop under qemu, and compares what the
# daemon sends, bus record and stream, with what it sends on this machine. Installs what is missing (Debian
# packages); the processor's own libraries come into build/root-<processor>, not onto this machine.
# Usage: scripts/test-on.sh arm64|armhf|armel [arguments of ctest, instead of all tests but the two longest]
. "$(dirname "$0")/common.sh"
. scripts/processors.sh "${1:-}"

shift
[ $# -gt 0 ] || set -- -E '^(LongRun|RandomShops)\.'
[ ${#qemu[@]} -gt 0 ] || fail "$processor needs no emulation: scripts/test.sh"
tree=build/$processor

need_packages "${build_packages[@]}" "${test_packages[@]}" "$compiler" mmdebstrap qemu-user-static
need_root

say "building for $processor ($tree.log)"
if ! { cmake -G Ninja -B "$tree" --toolchain "$PWD/cmake/toolchains/$processor.cmake" \
    -DCMAKE_SYSROOT="$root" -DCMAKE_BUILD_TYPE=Release -DTSINSERTD_TESTS=ON && cmake --build "$tree"; } >"$tree.log" 2>&1; then
    grep -E -A 12 'error|FAILED|CMake Error' "$tree.log" | head -n 60 >&2 || tail -n 40 "$tree.log" >&2
    fail "it does not build for $processor (all of it: $tree.log)"
fi
build release

say "running the tests on $processor (all they print: $tree/tests.log)"
if ! ctest --test-dir "$tree" --output-on-failure --timeout 1800 -j "$(nproc)" "$@" >"$tree/tests.log" 2>&1; then
    grep -E -A 60 '^The following tests FAILED' "$tree/tests.log" >&2 || tail -n 5 "$tree/tests.log" >&2
    fail "a test failed on $processor (all of the output: $tree/tests.log)"
fi
grep 'tests passed' "$tree/tests.log" || fail "no test is chosen by: $*"

compare() {
    local name=$1 start=$2
    run_in "$PWD/$tree/here" "$name" build/release/bin/epld-emulator build/release/bin/tsinsertd "$start"
    run_in "$PWD/$tree/there" "$name" "$tree/bin/epld-emulator" "$tree/bin/tsinsertd" "$start" "${qemu[@]}" -L "$root"
    expect_same "$tree/here" "$tree/there" "$name"
}

unset "${!PREF_@}" # settings of whoever calls this: these runs are of a single service
compare 2037 "2037-06-30 12:00:00"
compare 2038 "2038-01-19 03:13:50" # 31 bits of seconds end at 03:14:08
compare 2040 "2040-02-29 23:59:50"
sample_settings
compare shop "2026-11-18 14:05:09"

"$triplet-strip" -o "$tree/tsinsertd.stripped" "$tree/bin/tsinsertd"
say "all is the same on $processor; tsinsertd has $(stat -c %s "$tree/tsinsertd.stripped") bytes without symbols"
