#!/usr/bin/env bash
# Builds the Debian packages of the last commit for another processor, in a new Debian of its own like those of
# Debian's builders, and runs the sample shop on what is in them, under qemu, beside this machine's daemon. The
# packages are left in out/packages-<processor>. Installs what is missing (Debian packages).
# Usage: scripts/cross-packages.sh arm64|armhf|armel
. "$(dirname "$0")/common.sh"
. scripts/processors.sh "${1:-}"

[ ${#qemu[@]} -gt 0 ] || fail "$processor is this machine's: scripts/build-packages.sh"
[ -f debian/control ] || fail "there is no debian/ to build from"
need_packages "${build_packages[@]}" git fonts-liberation mmdebstrap qemu-user-static
out=$PWD/out/packages-$processor tree=$PWD/build/packages-$processor
version=$(sed -n '1s/.*(\(.*\)).*/\1/p' debian/changelog)
rm -rf "$out" "$tree"
mkdir -p "$out" "$tree/source" "$tree/files"
git archive HEAD | tar -x -C "$tree/source"

say "building the packages of tsinsertd $version for $processor ($out.log)"
# shellcheck disable=SC2016 # the folder, in the words of mmdebstrap
# The tests are scripts/test-on.sh's; the cross profile does without what they need.
mmdebstrap --variant=buildd --architectures="$(dpkg --print-architecture),$processor" \
    --include="crossbuild-essential-$processor,libstdc++-12-dev:$processor" \
    "${no_security[@]}" \
    --customize-hook='mkdir -p "$1/build/tsinsertd" "$1/build/out"' \
    --customize-hook="sync-in $tree/source /build/tsinsertd" \
    --chrooted-customize-hook="apt-get build-dep -y --no-install-recommends -a $processor -P cross,nocheck /build/tsinsertd" \
    --chrooted-customize-hook="cd /build/tsinsertd && DEB_BUILD_OPTIONS='nocheck noautodbgsym parallel=$(nproc)' \
        dpkg-buildpackage -a $processor -P cross,nocheck -b -uc -us && mv /build/*.deb /build/out" \
    --customize-hook="sync-out /build/out $out" \
    "$suite" /dev/null >"$out.log" 2>&1 || { tail -n 20 "$out.log" >&2 && fail "the packages do not build"; }

need_root
for package in "$out"/*.deb; do
    dpkg-deb -x "$package" "$tree/files"
done
build release
sample_settings
run_in "$tree/here" shop build/release/bin/epld-emulator build/release/bin/tsinsertd "2026-11-18 14:05:09"
run_in "$tree/there" shop "$tree/files/usr/bin/epld-emulator" "$tree/files/usr/sbin/tsinsertd" \
    "2026-11-18 14:05:09" "${qemu[@]}" -L "$root"
expect_same "$tree/here" "$tree/there" shop
for package in "$out"/*.deb; do
    say "${package#"$PWD/"}: $(stat -c %s "$package") bytes"
done
