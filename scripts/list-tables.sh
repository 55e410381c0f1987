#!/usr/bin/env bash
# Lists the first section of every table of a transport stream as tshark reads it, without reserved
# bits, lengths and packet headers. Usage: scripts/list-tables.sh FILE
set -euo pipefail
[ $# -eq 1 ] && [ -r "$1" ] || { echo "list-tables.sh: give it a transport stream" >&2; exit 1; }

# What whoever calls this has set for tshark must not change the list.
settings=$(mktemp -d)
trap 'rm -rf "$settings"' EXIT
env HOME="$settings" WIRESHARK_CONFIG_DIR="$settings" LC_ALL=C tshark -r "$1" -o mpeg_sect.verify_crc:TRUE -V \
    -Y 'mpeg_pat || mpeg_pmt || dvb_nit || dvb_sdt || dvb_eit || dvb_tdt || dvb_tot' 2>/dev/null |
awk '
    function number(hexadecimal, i, value) {
        for (i = 3; i <= length(hexadecimal); ++i)
            value = value * 16 + index("123456789abcdef", substr(hexadecimal, i, 1))
        return value
    }
    /^ISO\/IEC 13818-1 PID=/ { sub(/.*PID=/, ""); sub(/ .*/, ""); pid = number($0); table = ""; next }
    /^(MPEG2 |DVB )/ {
        table = seen[$0 pid]++ ? "" : $0
        if (table != "")
            printf "\n%s, PID %d\n", table, pid
        next
    }
    /^(Stuffing|Frame)/ { table = "" }
    table == "" || /Reserved|Syntax indicator|Current\/Next|ection Number| Length: |Table ID: / { next }
    /Descriptor Tag=|character table|CRC 32 Status|Content Ext:|Nibble Level .:/ { next }
    /Stream Content:|Component Type: 0x|Free CA Mode|EIT .* Flag/ { next }
    {
        match($0, /^ */)
        indent = substr($0, 1, RLENGTH)
        sub(/^ *[01.]+( [01.]+)+ = /, indent)
        if (/Logical Channel Number/) # below the five reserved ones are ten bits
            sub(/0x.*/, number($NF) % 1024)
        else
            while (match($0, /0x[0-9a-f]+/) && RLENGTH <= 6)
                $0 = substr($0, 1, RSTART - 1) number(substr($0, RSTART, RLENGTH)) substr($0, RSTART + RLENGTH)
        print
    }
    END {
        if (NR == 0) {
            print "list-tables.sh: tshark finds no table" > "/dev/stderr"
            exit 1
        }
    }
'
