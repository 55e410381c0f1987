#!/usr/bin/env bash
# Follows the documents as a new reader does: clones the last commit, runs every command block of every page there,
# and fails when one of them fails or leaves anything that git does not ignore. README.md comes first: it builds what
# the other pages run. Takes minutes. Installs what is missing (Debian packages).
# Usage: scripts/test-docs.sh [--programs FOLDER] [PAGE...]
#        scripts/test-docs.sh marks
#   --programs FOLDER  leave out README.md and take the programs from there (such as build/release/bin)
#   PAGE...            follow these pages only, behind README.md
#   marks              run nothing: look whether every block is marked, every link leads somewhere, lines are short
#
# How a page is marked. Each block is fenced and names its language.
#   ```sh                     is run: by one shell for each page, in the clone's root, with the programs in the PATH
#   <!-- not run: REASON -->  before it: is not run
#   <!-- exit status N -->    before it: the last of its commands must end so
#   <!-- file: PATH -->       before a block of any language: is saved there, ~ being a home folder of its own
#   <!-- printed -->          before what a command above prints: each line but "..." must have been printed
. "$(dirname "$0")/common.sh"

home=$PWD
git rev-parse -q --verify HEAD >/dev/null || fail "this is no checkout with a commit"
mapfile -t pages < <(git ls-files --deduplicate '*.md')

# Makes a page's blocks a script, on standard output. Complains of a block that is not marked.
script_of() {
    awk -v page="$1" '
        function complain(line, what) {
            printf "%s:%d: %s\n", page, line, what >"/dev/stderr"
            bad = 1
        }
        function begin(language) {
            opened = FNR
            closing = ""
            printf "at=%s:%d\n", page, FNR
            if (language == "")
                complain(FNR, "the block names no language: sh for commands, text for what they print")
            if (mark ~ /^<!-- file: [^ ]+ -->$/) {
                gsub(/^<!-- file: | -->$/, "", mark)
                printf "cat >%s <<\047end of the block\047\n", mark
                closing = "end of the block"
            } else if (mark == "<!-- printed -->") {
                print "must_be_printed <<\047end of the block\047"
                closing = "end of the block"
            } else if (mark ~ /^<!-- exit status [0-9]+ -->$/ && language == "sh") {
                gsub(/[^0-9]/, "", mark)
                print "trap - ERR; set +e"
                closing = "status=$?; watch; [ $status -eq " mark " ]"
            } else if (mark ~ /^<!-- not run: .* -->$/ || (mark == "" && language != "sh")) {
                print ": <<\047end of the block\047"
                closing = "end of the block"
            } else if (mark != "")
                complain(FNR, "nobody understands the mark " mark)
        }
        opened && /^```$/ {
            if (closing != "")
                print closing
            opened = 0
            mark = before = ""
            next
        }
        opened { print; next }
        /^```/ { begin(substr($0, 4)); next }
        /^ *(```|~~~)/ { complain(FNR, "a fence is three backquotes at the front of a line") }
        /^(    |\t)/ && before == "" && !list { complain(FNR, "an indented block: fence it, so that it names its language") }
        /^[-*0-9]/ { list = 1 }
        /^[^-*0-9 ]/ { list = 0 }
        { before = $0 }
        /^<!--/ { mark = $0; next }
        { mark = "" }
        END {
            if (opened)
                complain(opened, "the block is never closed")
            exit bad
        }' "$1"
}

# Links to files of the checkout, one a line.
links_of() {
    { grep -o '](\([^)#]*\)' "$1" || true; } | sed 's/^](//' | { grep -v '^[a-z]*:\|^$' || true; }
}

check_marks() {
    local page link bad=
    for page in "${pages[@]}"; do
        script_of "$page" >/dev/null || bad=yes
        ! LC_ALL=C.UTF-8 grep -nE '^.{121,}$' "$page" | sed "s|^|$page:|; s|\$| (over 120 characters)|" | grep . || bad=yes
        ! grep -nE '@[A-Z][A-Z0-9_]*@|\| [A-Z0-9]+_[A-Z0-9_]+ \|' "$page" | sed "s|^|$page:|; s|\$| (to be filled in)|" | grep . || bad=yes
        while read -r link; do
            [ -e "$(dirname "$page")/$link" ] || { echo "$page: there is no $link"; bad=yes; }
        done < <(links_of "$page")
        case $page in
        docs/*) links_of README.md | grep -qxF "$page" || { echo "README.md: no link to $page"; bad=yes; } ;;
        esac
    done
    [ -z "$bad" ] || fail "the pages are wrong as said above (how to mark a block: see the head of this script)"
}

# What every page's script begins with.
prologue() {
    cat <<'END'
watch() {
    set -eE -o pipefail
    trap 'echo "the block at $at failed" >&2' ERR
}
must_be_printed() {
    local line
    sed 's/\xC2\xA0/ /g' "$printed" >"$printed.plain" # no-break blanks are seen as blanks
    while IFS= read -r line; do
        case $line in
        '' | ...) ;;
        *) grep -qxF -e "$line" "$printed.plain" || { echo "nothing printed: $line" >&2; return 1; } ;;
        esac
    done
}
watch
END
}

# In the clone, by a shell without settings of whoever calls this, and without anybody's input.
follow() {
    local page=$1 left
    say "following $page"
    { prologue; script_of "$page"; } >"$work/script"
    rm -rf "$work/home"
    mkdir "$work/home"
    (
        cd "$work/clone"
        exec env -i HOME="$work/home" PATH="$work/clone/build/release/bin:$PATH" LANG=C.UTF-8 printed="$work/output" \
            timeout 3600 bash "$work/script" </dev/null >"$work/output" 2>&1
    ) || {
        tail -n 30 "$work/output" >&2
        fail "$page does not work as printed (the end of what it printed is above)"
    }
    left=$(git -C "$work/clone" status --porcelain --untracked-files=all)
    [ -z "$left" ] || fail "$page leaves what git does not ignore:"$'\n'"$left"
}

programs=
if [ "${1-}" = marks ]; then
    check_marks
    exit
fi
if [ "${1-}" = --programs ]; then
    programs=$(realpath -e "${2:?names no folder}") || fail "there is no folder $2"
    shift 2
fi
chosen=("$@")
[ ${#chosen[@]} -gt 0 ] || chosen=("${pages[@]}")
check_marks

need_packages git "${build_packages[@]}" "${test_packages[@]}" python3 python3-cairo jq
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
git clone -q "$home" "$work/clone"
[ -z "$(git status --porcelain)" ] || say "what is not committed is not tested"
if [ "$programs" ]; then
    mkdir -p "$work/clone/build/release"
    ln -s "$programs" "$work/clone/build/release/bin"
else
    follow README.md
fi
for page in "${chosen[@]}"; do
    [ "$page" = README.md ] || follow "$page"
done
say "every command works as printed, and nothing is left"
