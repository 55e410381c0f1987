# shellcheck shell=bash disable=SC2016,SC2034
# What the scripts for other processors share. Sourced behind common.sh, with the processor's Debian name.

processor=$1
case $processor in
amd64) triplet=x86_64-linux-gnu musl=x86_64-linux-musl qemu=() compiler=g++ ;;
arm64) triplet=aarch64-linux-gnu musl=aarch64-linux-musl qemu=(qemu-aarch64-static) compiler=g++-$triplet ;;
armhf) triplet=arm-linux-gnueabihf musl=arm-linux-musleabihf qemu=(qemu-arm-static) compiler=g++-$triplet ;;
armel) triplet=arm-linux-gnueabi musl=arm-linux-musleabi qemu=(qemu-arm-static) compiler=g++-$triplet ;;
s390x) triplet=s390x-linux-gnu musl= qemu=(qemu-s390x-static) compiler=g++-$triplet ;;
*) fail "which processor: amd64, arm64, armhf, armel or s390x?" ;;
esac
suite=$(. /etc/os-release && echo "$VERSION_CODENAME")

# A processor's security updates may come later than this machine's; to build with it needs none.
no_security=(--setup-hook='sed -i /security/d "$1"/etc/apt/sources.list')

# Debian packages of the processor, unpacked into a folder and not set up: nothing of them has to run for that.
# Links lead into the folder. The fonts are left out, so that all draw with this machine's.
unpack_root() {
    local folder=$1 packages=$2 link
    rm -rf "$folder" "$folder.new"
    mmdebstrap --variant=extract --architectures="$processor" --include="$packages" "${no_security[@]}" "$suite" \
        "$folder.new" || return 1
    find "$folder.new" -lname '/*' | while read -r link; do
        ln -sfrn "$folder.new$(readlink "$link")" "$link"
    done
    rm -rf "$folder.new/etc/fonts" "$folder.new/usr/share/fonts"
    mv "$folder.new" "$folder"
}

# The libraries that the programs and the tests need, in build/root-<processor>; kept for the next time.
need_root() {
    root=$PWD/build/root-$processor
    [ ! -d "$root" ] || return 0
    say "unpacking Debian's libraries for $processor ($root.log)"
    mkdir -p build
    local needed=(libcairo2-dev libexpat1-dev libfontconfig-dev nlohmann-json3-dev libcpp-httplib-dev libstdc++6
        libgtest-dev libgmock-dev libpng-dev)
    unpack_root "$root" "$(IFS=,; echo "${needed[*]}")" >"$root.log" 2>&1 ||
        fail "mmdebstrap could not make $root (the reasons: $root.log)"
}

# One run on the device. Its record, stream and output stay in the folder, named after the run. What stands
# behind the start of the clock runs the programs: nothing on this machine.
run_in() {
    local folder=$1 name=$2 emulator=$3 daemon=$4 start=$5
    shift 5
    mkdir -p "$folder"
    HOME=$folder "$@" "$emulator" --resources samples/shop --start "$start" --stream "$folder/$name.ts" \
        --record "$folder/$name.bus" --summary "$folder/$name.txt" -- "$@" "$daemon" >"$folder/$name.out" 2>&1 ||
        fail "the $name run is not sound: $folder/$name.txt, $folder/$name.out"
}

# Two runs of that name must be the same in every byte.
expect_same() {
    local here=$1 there=$2 name=$3 kind
    for kind in bus ts out; do
        [ -s "$here/$name.$kind" ] || fail "nothing in $here/$name.$kind"
        cmp "$here/$name.$kind" "$there/$name.$kind" >&2 || fail "$processor differs: $here/$name.$kind, $there/$name.$kind"
    done
    say "the same as this machine's dynamic daemon: the $name run, $(wc -l <"$there/$name.bus") requests," \
        "$(($(stat -c %s "$there/$name.ts") / 188)) packets"
}

sample_settings() {
    unset "${!PREF_@}" # settings of whoever calls this
    set -a
    # shellcheck source=../samples/shop/settings.env
    . samples/shop/settings.env
    set +a
}
