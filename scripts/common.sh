# What the scripts share. Sourced, not run.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() {
    printf '== %s\n' "$*"
}

fail() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# Debian packages, installed when they are missing.
need_packages() {
    command -v dpkg-query >/dev/null || fail "this script installs Debian packages; on another system install these by hand: $*"
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    say "installing ${missing[*]}"
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || fail "needs root to install: ${missing[*]}"
        as_root=(sudo)
    fi
    local log
    log=$(mktemp)
    # A mirror that is being renewed fails the update, but may have what is needed.
    if ! { { "${as_root[@]}" apt-get update || true; } && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
        tail -n 20 "$log" >&2
        fail "could not install ${missing[*]} (the end of apt-get's output is above)"
    fi
    rm -f "$log"
}

# What every build needs, and more of them for what the scripts do.
build_packages=(g++ cmake ninja-build pkg-config libexpat1-dev libcairo2-dev libfontconfig-dev nlohmann-json3-dev
    libcpp-httplib-dev)
test_packages=(libgtest-dev libgmock-dev libpng-dev fonts-liberation fonts-dejavu-core ffmpeg tshark
    chromium chromium-driver python3)
lint_packages=(git clang clang-format clang-tidy mandoc)
fuzz_packages=(clang libclang-rt-14-dev llvm fonts-liberation fonts-dejavu-core)

# Configures and builds a preset; the output is shown only when something is wrong.
build() {
    local preset=$1 log
    log=build/$preset.log
    say "building the $preset preset ($log)"
    mkdir -p build
    if ! { cmake --preset "$preset" && cmake --build --preset "$preset"; } >"$log" 2>&1; then
        grep -E -A 12 'error|FAILED|CMake Error' "$log" | head -n 60 >&2 || tail -n 40 "$log" >&2
        fail "the $preset preset does not build (all of it: $log)"
    fi
}
