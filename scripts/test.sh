#!/usr/bin/env bash
# Builds everything with the address and undefined-behaviour sanitizers and runs all tests; checks the format
# of all files and lints those that changed last; looks whether the documents are marked for
# scripts/test-docs.sh; builds everything but the preview with clang and runs each fuzz target for three
# seconds. Installs what is missing (Debian packages).
# Usage: scripts/test.sh [arguments of ctest, for a part of the tests only]
. "$(dirname "$0")/common.sh"

part=$([ $# -eq 0 ] || echo only)
need_packages "${build_packages[@]}" "${test_packages[@]}"
[ "$part" ] || need_packages "${lint_packages[@]}" "${fuzz_packages[@]}"

build dev
tests=$(ctest --preset dev -N "$@" | sed -n 's/^Total Tests: //p')
[ "${tests:-0}" -gt 0 ] || fail "no test is chosen by: $*"
say "running $tests tests (all they print: build/dev/tests.log)"
if ! ctest --preset dev -j "$(nproc)" "$@" >build/dev/tests.log 2>&1; then
    grep -E -A 60 '^The following tests FAILED' build/dev/tests.log >&2
    grep -B 2 -A 12 'Failure$' build/dev/tests.log | head -n 80 >&2 || true
    fail "a test failed (all of the output: build/dev/tests.log)"
fi
tail -n 1 build/dev/tests.log

[ "$part" ] || scripts/test-docs.sh marks
[ "$part" ] || scripts/lint.sh
[ "$part" ] || scripts/fuzz.sh 3
say "all tests passed"
