#!/usr/bin/env bash
# Builds the Debian packages of the last commit and runs the tests in the build; lintian then looks at the
# packages. They are left in out/packages. Installs what is missing (Debian packages).
# Usage: scripts/build-packages.sh [--quick] [--twice]
#   --quick  without the tests
#   --twice  builds them once more in another place, year, time zone, language and umask: no bit may differ
. "$(dirname "$0")/common.sh"

options="parallel=$(nproc)" twice=""
for option in "$@"; do
    case $option in
    --quick) options+=" nocheck" ;;
    --twice) twice=yes ;;
    *) fail "'$option' is not known: --quick or --twice" ;;
    esac
done
need_packages "${build_packages[@]}" git dpkg-dev debhelper lintian devscripts
[[ $options = *nocheck ]] || need_packages libgtest-dev libgmock-dev libpng-dev libfontconfig-dev fonts-liberation \
    fonts-dejavu-core
[ -z "$twice" ] || need_packages faketime locales

# The places that tell the version agree.
version=$(sed -n 's/^project(tsinsertd VERSION \([^ ]*\).*/\1/p' CMakeLists.txt)
[ "$(dpkg-parsechangelog -S Version)" = "$version" ] || fail "debian/changelog does not begin with $version"
[ "$(sed -n 's/^## //p' CHANGELOG.md | head -n 1)" = "$version" ] || fail "CHANGELOG.md does not begin with $version"
commit=$(git rev-parse HEAD) # somebody may commit while it builds
tags=$(git tag --points-at "$commit")
[ -z "$tags" ] || grep -qxF "v$version" <<<"$tags" || fail "the commit is $version, but tagged $tags"
git diff --quiet HEAD || say "what is not committed is left out"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Makes the packages of the last commit in a new folder. More arguments: what runs the build, such as env.
build_in() {
    local place=$1/tsinsertd-$version log=$PWD/out/packages.log
    shift
    mkdir -p "$place" out
    git archive "$commit" | tar -x -C "$place"
    if ! (cd "$place" && "$@" dpkg-buildpackage -b -uc -us) >"$log" 2>&1; then
        grep -E -A 12 'error:|FAILED|CMake Error|Unmet|Failure' "$log" | head -n 60 >&2 || tail -n 40 "$log" >&2
        fail "the packages do not build (all of it: $log)"
    fi
}

say "building the packages of tsinsertd $version (out/packages.log)"
build_in "$work" env DEB_BUILD_OPTIONS="$options"
rm -rf out/packages
mkdir -p out/packages
cp "$work"/*.deb "$work"/*.changes "$work"/*.buildinfo out/packages
echo "$commit" >out/packages/commit

say "lintian"
user=()
[ "$(id -u)" -ne 0 ] || user=(--allow-root)
lintian "${user[@]}" -I --pedantic --fail-on error,warning,info,pedantic out/packages/*.changes ||
    fail "lintian has something against the packages"

say "hardening"
for package in out/packages/tsinsertd*_"$version"_*.deb; do
    dpkg-deb -x "$package" "$work/installed"
done
for program in "$work"/installed/usr/{sbin/tsinsertd,bin/*,lib/tsinsertd/*.so}; do
    # Control flow is protected where the C library's part of every program is, which Debian 12 has not.
    hardening-check --quiet --nocfprotection "$program" || fail "$program lacks what is said above"
done

if [ "$twice" ]; then
    say "building them once more, elsewhere and at another time"
    localedef -i tr_TR -f UTF-8 "$work/tr_TR.UTF-8" || fail "cannot make the Turkish language"
    umask 0027 # the place has no blank, since dpkg-buildflags cannot map one
    build_in "$work/another-place" env DEB_BUILD_OPTIONS="parallel=$(nproc) nocheck" TZ=Pacific/Chatham \
        LOCPATH="$work" LC_ALL=tr_TR.UTF-8 LANG=tr_TR.UTF-8 faketime '2031-03-30 01:30:00'
    umask 0022
    for package in out/packages/*.deb; do
        cmp "$package" "$work/another-place/$(basename "$package")" || fail "$package is not the same when built again"
    done
fi

say "out/packages:"
(cd out/packages && stat --printf '   %s bytes  %n\n' -- *.deb)
