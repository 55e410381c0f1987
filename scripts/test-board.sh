#!/usr/bin/env bash
# Boots a Debian 12 of its own under qemu, installs our packages there by apt, and plays the scenes of
# board-scenes.sh with the emulated device on an I2C bus of that kernel (docs/board.md). Installs what is
# missing here (Debian packages). The first run makes the root of that machine, in build/board.
# Usage: scripts/test-board.sh [--packages FOLDER] [SCENE...]
. "$(dirname "$0")/common.sh"

scenes=(install air unplug late held nobody articles watchdog read_only removal)
patience_s=900
work=build/board
packages=out/packages
if [ "${1:-}" = --packages ]; then
    packages=${2:?which folder?}
    shift 2
fi
if [ $# -gt 0 ]; then
    scenes=(install "$@")
fi

need_packages git qemu-system-x86 mmdebstrap genext2fs e2fsprogs tshark
if [ "$packages" = out/packages ] && [ "$(cat "$packages/commit" 2>/dev/null)" != "$(git rev-parse HEAD)" ]; then
    scripts/build-packages.sh --quick
fi
compgen -G "$packages/tsinsertd_*.deb" >/dev/null || fail "there are no packages in $packages"
mkdir -p "$work"

# What our packages need is in the root: the machine has no network.
needed_packages() {
    local all
    all=$(for package in "$packages"/*.deb; do dpkg-deb --field "$package" Depends; done |
        tr ',' '\n' | sed 's/|.*//; s/(.*//; s/ //g' | grep -v '^tsinsertd' | sort -u | paste -s -d ,)
    echo "linux-image-amd64,initramfs-tools,systemd-sysv,udev,dbus,kmod,procps,$all"
}

# Starts the scenes when all else has been started, and ends the machine.
board_unit='[Unit]
After=multi-user.target
RequiresMountsFor=/share
SuccessAction=poweroff-immediate
FailureAction=poweroff-immediate
[Service]
Type=oneshot
ExecStart=/bin/sh /share/run
StandardOutput=tty
StandardError=tty
TTYPath=/dev/ttyS1
[Install]
WantedBy=multi-user.target'

make_root() {
    local without=() folder
    for folder in /usr/share/{man,locale} /lib/modules/*/kernel/{sound,drivers/{gpu,infiniband,media,net}}; do
        without+=(--dpkgopt="path-exclude=$folder/*")
    done
    printf '%s\n' "$board_unit" >"$work/board.service"
    printf 'MODULES=list\nCOMPRESS=zstd\nRESUME=none\n' >"$work/initramfs.conf"
    printf 'virtio_pci\nvirtio_blk\next4\n' >"$work/initramfs.modules"
    rm -rf "${work:?}"/{boot,root.*}
    # shellcheck disable=SC2016 # $1 is the hooks' own
    mmdebstrap --variant=minbase --include="$1" --aptopt='APT::Install-Recommends "false"' "${without[@]}" \
        --essential-hook='mkdir -p "$1"/etc/initramfs-tools/conf.d' \
        --essential-hook="copy-in $work/initramfs.conf /etc/initramfs-tools/conf.d" \
        --essential-hook="upload $work/initramfs.modules /etc/initramfs-tools/modules" \
        --customize-hook="copy-in $work/board.service /etc/systemd/system" \
        --customize-hook='chroot "$1" systemctl enable board.service' \
        --customize-hook='mkdir "$1"/share' \
        --customize-hook='echo "share /share 9p trans=virtio,version=9p2000.L,msize=262144 0 0" >>"$1"/etc/fstab' \
        --customize-hook='echo board >"$1"/etc/hostname; rm "$1"/etc/dpkg/dpkg.cfg.d/99mmdebstrap' \
        --customize-hook="copy-out /boot $work" \
        bookworm "$work/root.ext2" >"$work/root.log" 2>&1 || return 1
    # Room for what is installed later.
    truncate -s +256M "$work/root.ext2"
    e2fsck -fy "$work/root.ext2" >>"$work/root.log" 2>&1
    resize2fs "$work/root.ext2" >>"$work/root.log" 2>&1
}

# What the root is made of, and how.
needed=$(needed_packages)
recipe="$needed $(echo "$board_unit $(declare -f make_root)" | sha256sum)"
if [ "$(cat "$work/root.recipe" 2>/dev/null)" != "$recipe" ]; then
    say "making the root of the machine ($work/root.log)"
    make_root "$needed" || fail "could not make the root of the machine: $(tail -n 3 "$work/root.log")"
    echo "$recipe" >"$work/root.recipe"
fi

share=$work/share
rm -rf "$share"
mkdir -p "$share/packages" "$share/out"
cp "$packages"/tsinsertd_*.deb "$packages"/tsinsertd-tools_*.deb "$share/packages"
cp scripts/board-scenes.sh "$share"
echo "exec /bin/bash /share/board-scenes.sh /share ${scenes[*]}" >"$share/run"

# What the machine says appears on the terminal, what its kernel says in console.log.
run_machine() {
    timeout --foreground "$patience_s" qemu-system-x86_64 -machine q35,smbus=off -accel "$1" -smp 2 -m 1024 \
        -kernel "$work"/boot/vmlinuz-* -initrd "$work"/boot/initrd.img-* \
        -append "root=/dev/vda rw console=ttyS0 quiet mitigations=off systemd.show_status=false" \
        -drive "file=$work/root.ext2,if=virtio,format=raw,snapshot=on,cache=unsafe" \
        -virtfs "local,path=$share,mount_tag=share,security_model=none" \
        -nographic -nodefaults -nic none -no-reboot -serial "file:$work/console.log" -serial stdio </dev/null
}

# There may be a /dev/kvm that does not run anything: a kernel shows at once whether it does.
can_accelerate() {
    [ -w /dev/kvm ] || return 1
    timeout 5 qemu-system-x86_64 -accel kvm -kernel "$work"/boot/vmlinuz-* -append "console=ttyS0 panic=-1" -m 256 \
        -nographic -nodefaults -nic none -no-reboot -serial stdio </dev/null 2>/dev/null | grep -q 'Linux version'
}

accelerator=tcg
can_accelerate && accelerator=kvm
say "booting ($accelerator; console: $work/console.log)"
began=$SECONDS
run_machine "$accelerator" || fail "the machine did not come to its end (console: $work/console.log)"
took=$((SECONDS - began))
results=$share/out/results
[ -s "$results" ] || fail "the machine tells nothing of its scenes (console: $work/console.log)"

# The kernel's trace of SMBus and the device's record in one form: a read or a write, its register, the bytes.
# The kernel shows the length of a block before its bytes.
traced_requests() {
    perl -ne 'next unless /smbus_(write|reply): i2c-0 a=005 .* c=(\S+) (\S+) l=\d+ \[(.*)\]/;
        my @bytes = split /-/, uc $4;
        shift @bytes if $3 eq "I2C_BLOCK_DATA";
        print join(" ", $1 eq "write" ? "write" : "read", hex $2, @bytes), "\n"' "$1"
}

recorded_requests() {
    perl -ne 'print "$1 $2$3\n" if /^\S+ (read|write)-\S+ (\d+)(?: at \d+)?:(.*)/' "$1"
}

compare_requests() {
    local count
    traced_requests "$share/out/air.trace" >"$work/traced"
    count=$(wc -l <"$work/traced")
    recorded_requests "$share/out/air.bus" | sed -n "1,${count}p" >"$work/recorded"
    [ "$count" -gt 1000 ] || fail "the kernel has traced $count requests only ($share/out/air.trace)"
    cmp -s "$work/traced" "$work/recorded" ||
        fail "the kernel's trace differs from the device's record: $(diff "$work/traced" "$work/recorded" | head -n 3)"
    say "the kernel's trace of $count SMBus requests equals the device's record"
}

check_stream() {
    local table
    scripts/list-tables.sh "$share/out/air.ts" >"$work/air-tables.txt" || fail "tshark could not read the stream"
    for table in "Program Association" "Program Map" "Network Information" "Service Description" \
        "Event Information" "Time and Date" "Time Offset"; do
        grep -q "$table Table" "$work/air-tables.txt" || fail "tshark finds no $table Table in $share/out/air.ts"
    done
    say "tshark reads every table in the stream ($share/out/air.ts)"
}

echo
while IFS=$'\t' read -r scene verdict seconds; do
    printf '%-12s %-12s %6s s\n' "$scene" "$verdict" "$seconds"
    [ ! -e "$share/out/$scene.report" ] || sed 's/^/    /' "$share/out/$scene.report"
done <"$results" | tee "$work/report.txt"
echo
for scene in "${scenes[@]}"; do
    grep -q "^$scene	passed	" "$results" || fail "the scene \"$scene\" failed (above, and in $share/out)"
done
if [ -e "$share/out/air.trace" ]; then
    compare_requests
    check_stream
fi
say "all scenes passed, from power-on to power-off in $took s ($accelerator; $work/report.txt)"
