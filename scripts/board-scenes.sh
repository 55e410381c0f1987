#!/usr/bin/env bash
# The scenes of test-board.sh. Runs on the booted machine, as root, with the folder that it shares with its
# host: packages/ holds what is installed, out/ takes what is found.
# Usage: board-scenes.sh FOLDER [SCENE...]
set -u
share=$1
shift
out=$share/out
resources=/usr/playout/.medias/resources
samples=/usr/share/doc/tsinsertd-tools/samples/shop
commands=/run/adapter.commands
state=/run/board
drop_in=/run/systemd/system/tsinsertd.service.d
export LC_ALL=C SYSTEMD_PAGER='' SYSTEMD_COLORS=0 DEBIAN_FRONTEND=noninteractive
mkdir -p "$out" "$state"
mkfifo "$commands"

# What a scene finds

uptime_s() {
    cut -d ' ' -f 1 /proc/uptime
}

# A line of the scene's report. Several processes may write it.
report() {
    printf '%s\n' "$*" >>"$out/$scene.report"
}

fault() {
    report "FAILED: $*"
    faults=$((faults + 1))
}

# Tells a fact about the scene when a command succeeds, and a fault when it does not.
holds() {
    local what=$1
    shift
    if "$@" >/dev/null 2>&1; then
        report "$what"
    else
        fault "it is not so that $what"
    fi
}

# Waits until a command succeeds, for so many seconds.
within() {
    local end=$((SECONDS + $1))
    shift
    until "$@" >/dev/null 2>&1; do
        [ "$SECONDS" -lt "$end" ] || return 1
        sleep 0.3
    done
}

# The journal since the scene began.
scene_journal() {
    sed -n "/board\\[[0-9]*\\]: scene $scene begins$/,\$p" "$state/journal" | sed 1d
}

journal_has() {
    scene_journal | grep -qE "$1"
}

# Waits for a line in the scene's journal, and puts it into the report.
journal_says() {
    local pattern=$1 patience_s=${2:-10}
    if within "$patience_s" journal_has "$pattern"; then
        report "$(scene_journal | grep -m 1 -E "$pattern")"
    else
        fault "the journal does not say: $pattern"
    fi
}

begin() {
    scene=$1
    faults=0
    began=$(uptime_s)
    : >"$out/$scene.report"
    echo "scene $scene begins" | systemd-cat --identifier=board
    within 10 grep -q "board.*: scene $scene begins$" "$state/journal"
}

finish() {
    sleep 0.5 # the last lines come a little later
    scene_journal >"$out/$scene.journal"
    local verdict=passed
    [ "$faults" -eq 0 ] || verdict="FAILED ($faults)"
    printf '%s\t%s\t%s\n' "$scene" "$verdict" \
        "$(echo "$began $(uptime_s)" | awk '{ printf "%.1f", $2 - $1 }')" | tee -a "$out/results"
}

# The device

# Plugs the device in and waits until its bus is there. Arguments: options of epld-adapter.
plug_device() {
    start_adapter "$@"
    within 20 test -e /dev/i2c-0 || fault "no /dev/i2c-0 came"
}

start_adapter() {
    epld-adapter --summary "$out/$scene.summary" --record "$state/$scene.bus" "$@" \
        <>"$commands" 2>>"$out/$scene.adapter" &
    adapter=$!
}

tell_device() {
    echo "$1" >"$commands"
    report "$(printf '[%12s] epld-adapter: %s' "$(uptime_s)" "$1")"
}

# Takes the device away, and its verdict.
end_device() {
    kill -TERM "$adapter"
    wait "$adapter"
    local status=$?
    cp "$state/$scene.bus" "$out/"
    [ "$status" -le 1 ] || fault "epld-adapter ended with status $status"
    local found
    found=$(grep '^FAULT: ' "$out/$scene.summary")
    [ -z "$found" ] || fault "the device says $found"
    grep '^tables programmed anew' "$out/$scene.summary" | while read -r line; do report "$line"; done
    report "$(tail -n 1 "$out/$scene.summary")"
}

# The daemon

property() {
    systemctl show --property "$1" --value "${2:-tsinsertd.service}"
}

is_on_air() {
    [ "$(property ActiveState)" = active ] && [ "$(property SubState)" = running ]
}

has_failed() {
    [ "$(property ActiveState)" = failed ]
}

# For good: not between two tries.
comes_on_air() {
    if within "$1" is_on_air; then
        report "$(printf '[%12s] on air: %s' "$(uptime_s)" "$(property StatusText)")"
    else
        fault "not on air within $1 s: $(property ActiveState), $(property Result)"
    fi
}

stop_daemon() {
    systemctl stop tsinsertd.service
    systemctl reset-failed tsinsertd.service 2>/dev/null
    return 0
}

let_run() {
    sleep "${1:-3}"
}

# Scenes

# All that is on the machine, but what changes by itself.
inventory() {
    find / -xdev \( -path /proc -o -path /sys -o -path "$share" -o -path /tmp -o -path /run -o -path /dev \
        -o -path /var/log -o -path /var/lib/dpkg -o -path /var/lib/apt -o -path /var/cache/apt \
        -o -path /var/cache/debconf -o -path /var/lib/systemd/timers -o -path /var/lib/systemd/deb-systemd-helper-masked \
        -o -path /var/tmp \) -prune -o -printf '%y %m %u:%g %p\n' | sort
    getent passwd | sort
    getent group | grep -v '^i2c:' | sort # it stays: others may use it
    systemctl list-unit-files --no-legend | sort
}

# The patience of the unit would be a long part of the whole.
hurry_unit() {
    mkdir -p "$drop_in"
    printf '[Unit]\nStartLimitBurst=3\n[Service]\nRestartSec=1s\n' >"$drop_in/hurry.conf"
}

install_scene() {
    inventory >"$state/before"
    hurry_unit
    apt-get install --yes --no-install-recommends "$share"/packages/*.deb >"$out/install.log" 2>&1 ||
        fault "apt could not install: $(tail -n 3 "$out/install.log")"
    holds "the user tsinsertd is in the group i2c" eval 'id -nG tsinsertd | grep -qw i2c'
    holds "nothing runs before it is enabled" eval '! systemctl is-active tsinsertd.service'
    cp "$samples"/settings.env /etc/default/tsinsertd
    mkdir -p "$resources"
    cp "$samples"/*.xml "$samples"/*.png "$resources"/
}

process_status() {
    sed -n "s/^$1:[[:blank:]]*//p" "/proc/$(property MainPID)/status"
}

air_scene() {
    echo 16384 >/sys/kernel/tracing/buffer_size_kb
    echo 1 >/sys/kernel/tracing/events/smbus/enable
    plug_device --stream "$state/air.ts"
    systemctl start tsinsertd.service || fault "the unit does not start"
    comes_on_air 1
    journal_says 'Detect EPLD version 3'
    journal_says 'Started tsinsertd.service'
    holds "the daemon runs as tsinsertd" eval '[ "$(ps -o user= -p "$(property MainPID)")" = tsinsertd ]'
    holds "it has no capability" eval '[ -z "$(process_status CapEff | tr -d 0)" ]'
    holds "it cannot gain privileges, and its system calls are filtered" \
        eval '[ "$(process_status NoNewPrivs)$(process_status Seccomp)" = 12 ]'
    local exposure
    exposure=$(systemd-analyze security tsinsertd.service | sed -n 's/.*Overall exposure level[^:]*: //p')
    report "exposure level: $exposure"
    holds "the exposure level is at most 0.6" awk -v level="${exposure%% *}" 'BEGIN { exit !(level != "" && level <= 0.6) }'
    # A round of the services, on a busy host more than a minute.
    holds "the time comes on air" within 180 eval 'property StatusText | grep -q "last TDT"'
    let_run
    report "memory: $(property MemoryCurrent) bytes; processor: $(property CPUUsageNSec) ns in all"
    report "status: $(property StatusText)"
    echo 0 >/sys/kernel/tracing/events/smbus/enable
    cp /sys/kernel/tracing/trace "$out/air.trace"
    local first
    first=$(property MainPID)
    systemctl restart tsinsertd.service || fault "the unit does not start again"
    comes_on_air 1
    holds "a restart is another process" [ "$(property MainPID)" != "$first" ]
    let_run
    systemctl stop tsinsertd.service
    end_device
    cp "$state/air.ts" "$out/"
    journal_says 'Stopped tsinsertd.service'
    holds "nothing of it runs when it was stopped" eval '! pgrep -u tsinsertd'
    holds "the unit ended well" [ "$(property Result)" = success ]
    stop_daemon
}

unplug_scene() {
    plug_device
    systemctl start tsinsertd.service
    comes_on_air 1
    let_run
    tell_device unplug
    journal_says 'Main process exited, code=exited, status=234' 20
    journal_says 'Scheduled restart job'
    journal_says 'Open .* driver: No such file' 20
    tell_device plug
    within 20 test -e /dev/i2c-0 || fault "no /dev/i2c-0 came back"
    comes_on_air 30
    let_run
    end_device
    stop_daemon
}

# The unit is enabled, and there is no bus: not at the start, and not after the last try.
late_scene() {
    systemctl enable --quiet tsinsertd.service
    systemctl start tsinsertd-changes.path # a try that opens the files is no change of them
    systemctl start tsinsertd.service 2>/dev/null && fault "the unit starts without a device"
    journal_says 'Open .* driver: No such file'
    journal_says 'Main process exited, code=exited, status=234'
    journal_says 'Start request repeated too quickly' 120
    holds "it is given up" within 5 has_failed
    let_run # the last try has woken the watch over the files
    holds "it stays given up" has_failed
    holds "no try was taken for a change of the files" eval '! journal_has "changes are"'
    plug_device
    report "$(printf '[%12s] the device is plugged in' "$(uptime_s)")"
    comes_on_air 30
    let_run
    end_device
    systemctl stop tsinsertd-changes.path
    stop_daemon
    systemctl disable --quiet tsinsertd.service
}

held_scene() {
    plug_device
    echo dummy 0x05 >/sys/bus/i2c/devices/i2c-0/new_device
    holds "another driver holds the address" test -e /sys/bus/i2c/devices/0-0005/driver
    systemctl start tsinsertd.service 2>/dev/null && fault "the unit starts at an address that another driver holds"
    journal_says "can't access I2C chip"
    journal_says 'Main process exited, code=exited, status=234'
    journal_says 'Scheduled restart job'
    echo 0x05 >/sys/bus/i2c/devices/i2c-0/delete_device
    report "$(printf '[%12s] the other driver lets go' "$(uptime_s)")"
    comes_on_air 30
    let_run
    end_device
    stop_daemon
}

nobody_scene() {
    plug_device
    tell_device absent
    systemctl start tsinsertd.service 2>/dev/null && fault "the unit starts with nobody at the address"
    journal_says 'Main process exited, code=exited, status=234'
    journal_says 'Scheduled restart job'
    journal_says 'Start request repeated too quickly' 20
    holds "it is given up" within 5 has_failed
    tell_device present
    systemctl reset-failed tsinsertd.service
    systemctl start tsinsertd.service || fault "the unit does not start when the device is back"
    comes_on_air 1
    let_run
    end_device
    stop_daemon
}

# From the command that deletes the tables to the one that switches insertion on, the last time.
gap_of_tables() {
    awk '/write-byte 2: 07/ { began = $1 } /write-byte 0: 15/ { gap = $1 - began } END { printf "%.2f", gap }' \
        "$state/$scene.bus"
}

articles_scene() {
    plug_device
    systemctl start tsinsertd.service tsinsertd-changes.path
    comes_on_air 1
    let_run
    local first
    first=$(property MainPID)
    install -m 600 /dev/null "$resources/notes.xml" # the user of the daemon may not read it
    sed -i 's/149 €/139 €/' "$resources/infostv.xml"
    report "$(printf '[%12s] another price' "$(uptime_s)")"
    journal_says 'changes are well' 60
    holds "the daemon is another process" within 30 eval "is_on_air && [ \"\$(property MainPID)\" != $first ]"
    comes_on_air 1
    let_run
    report "$(gap_of_tables) s without tables"
    first=$(property MainPID)
    sed -i 's,</price>,<price>,' "$resources/infostv.xml"
    report "$(printf '[%12s] a broken file' "$(uptime_s)")"
    journal_says 'error: the file is not well-formed' 60
    journal_says 'changes are broken'
    holds "the daemon is the same process" eval "is_on_air && [ \"\$(property MainPID)\" = $first ]"
    let_run
    holds "it was restarted once" [ "$(scene_journal | grep -c 'changes are well')" = 1 ]
    end_device
    systemctl stop tsinsertd-changes.path
    stop_daemon
    cp "$samples"/infostv.xml "$resources"/
}

# Less patience than the daemon's own, which is at least 5000 polls a millisecond apart.
watchdog_scene() {
    printf '[Service]\nWatchdogSec=5s\n' >"$drop_in/watchdog.conf"
    systemctl daemon-reload
    plug_device
    systemctl start tsinsertd.service
    comes_on_air 1
    let_run
    tell_device stuck
    journal_says 'Watchdog timeout' 60
    journal_says 'Main process exited, code=.*ABRT'
    journal_says 'Scheduled restart job'
    tell_device free
    comes_on_air 30
    let_run
    end_device
    stop_daemon
    rm "$drop_in/watchdog.conf"
    systemctl daemon-reload
}

read_only_scene() {
    plug_device
    journalctl --relinquish-var # the journal writes to the root
    mount -t tmpfs tmpfs /tmp     # as wherever the root is read-only: there systemd prepares the unit's /dev
    holds "the root can be mounted read-only" mount -o remount,ro /
    systemctl start tsinsertd.service || fault "the unit does not start on a read-only root"
    comes_on_air 1
    journal_says 'must be allowed to read and to write'
    let_run
    end_device
    stop_daemon
    mount -o remount,rw /
    umount /tmp
}

removal_scene() {
    plug_device
    systemctl enable --quiet tsinsertd.service
    systemctl start tsinsertd.service
    comes_on_air 1
    apt-get remove --yes tsinsertd tsinsertd-tools >"$out/remove.log" 2>&1 ||
        fault "apt could not remove: $(tail -n 3 "$out/remove.log")"
    end_device
    holds "nothing runs when it was removed" eval '! pgrep -u tsinsertd && ! systemctl is-active tsinsertd.service'
    holds "nothing is left in /run" eval '! compgen -G "/run/tsinsertd*"'
    holds "the settings stay" test -e /etc/default/tsinsertd
    apt-get purge --yes tsinsertd tsinsertd-tools >"$out/purge.log" 2>&1 ||
        fault "apt could not purge: $(tail -n 3 "$out/purge.log")"
    holds "the articles stay" test -e "$resources/infostv.xml"
    rm -r "${resources:?}"/*
    rmdir --ignore-fail-on-non-empty -p "$resources"
    inventory >"$state/after"
    diff "$state/before" "$state/after" >"$out/left-behind" ||
        fault "a purge leaves behind: $(grep '^[<>]' "$out/left-behind" | head -n 5)"
}

# The attribute of the board's own driver, which this machine does not have.
provide_version() {
    mkdir -p /run/board-class/orlex/epld2
    echo 3 >/run/board-class/orlex/epld2/version
    mount -t overlay -o ro,lowerdir=/run/board-class:/sys/class overlay /sys/class
}

scene=boot
provide_version || exit 1
modprobe -a vhci_hcd i2c-tiny-usb i2c-dev overlay || exit 1
journalctl --follow --lines all --output short-monotonic --no-hostname >"$state/journal" &
mountpoint -q /sys/kernel/tracing || mount -t tracefs tracefs /sys/kernel/tracing
printf 'boot\tpassed\t%s\n' "$(uptime_s)" | tee -a "$out/results"
for scene in "$@"; do
    begin "$scene"
    "${scene}_scene"
    finish
done
