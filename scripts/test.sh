#!/usr/bin/env bash
# Builds everything with the address and undefined-behaviour sanitizers, runs all tests, and each fuzz
# target for three seconds. Installs what is missing (Debian packages).
# Usage: scripts/test.sh [arguments of ctest, for a part of the tests only]
. "$(dirname "$0")/common.sh"

need_packages "${build_packages[@]}" libgtest-dev libgmock-dev fonts-liberation fonts-dejavu-core ffmpeg tshark
build dev
say "running all tests"
ctest --preset dev -j "$(nproc)" "$@" || fail "a test failed: its output is above"
[ $# -gt 0 ] || scripts/fuzz.sh 3
say "all tests passed"
