#!/usr/bin/env bash
# Checks the format of all C++ files and the manual pages, and what clang-tidy says of those that changed since a
# commit. Installs what is missing (Debian packages).
# Usage: scripts/lint.sh [commit, the last but one unless told; "all" for all files]
. "$(dirname "$0")/common.sh"

need_packages "${build_packages[@]}" "${test_packages[@]}" "${lint_packages[@]}"

say "checking the format of all files"
git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run -Werror || fail "clang-format -i mends what is said above"

say "checking the manual pages"
# Which pages of others are installed here does not count.
found=$(mandoc -T lint docs/man/* 2>&1 | grep -v -e 'referenced manual not found' -e 'outdated mandoc.db' || true)
[ -z "$found" ] || fail "mandoc finds: $found"

since=${1:-HEAD~1}
if [ "$since" = all ]; then
    mapfile -t changed < <(git ls-files '*.cpp' | grep -v '^fuzz/')
else
    git rev-parse -q --verify "$since^{commit}" >/dev/null || { say "there is no commit $since to compare with"; exit 0; }
    mapfile -t changed < <(git diff --name-only --diff-filter=d "$since" -- '*.cpp' | grep -v '^fuzz/' || true)
fi
[ ${#changed[@]} -gt 0 ] || { say "no file to lint"; exit 0; }
log=build/lint.log
say "clang-tidy on ${#changed[@]} files ($log)"
mkdir -p build
cmake --preset clang >"$log" 2>&1 || fail "the clang preset cannot be configured (see $log)"
if ! printf '%s\0' "${changed[@]}" | xargs -0 -n 1 -P "$(nproc)" \
    clang-tidy --quiet --warnings-as-errors='*' -p build/clang >>"$log" 2>&1; then
    grep -E -A 4 'error:' "$log" | head -n 60 >&2
    fail "clang-tidy finds what is said above (all of it: $log)"
fi
