# SPDX-License-Identifier: Apache-2.0
#
# Registries, written and printed. Read by `compare`.

# device N: a line that is imported.
device() {
    printf '%s;Fan coil %d;1F/Room %d;50\n' "$(number "$1")" "$1" "$1"
}

byte() {
    printf '%b' "\\x$(printf %02x "$1")"
}

# header N: the header of a registry of N records, up to 255.
header() {
    printf 'DREG\0\1\0\0\0\0\0'
    byte "$1"
}

# record N LEVEL NAME LOCATION: a record whose uuid ends in N, which has one digit.
record() {
    printf '\x6f\x1c\x7c\x5e\x3b\x0a\x4d\x52\x9e\x41\x7d\x20\xc1\xa9\0'
    byte "$1"
    byte "$2"
    byte ${#3}
    byte ${#4}
    printf '%s%s' "$3" "$4"
}

# sealed: what comes from standard input, with the checksum behind it that another program finds.
sealed() {
    local a b c d
    tee "$work/bytes"
    read -r a b c d < <(gzip -c "$work/bytes" | tail -c 8 | od -An -tx1 -N4)
    printf '%b' "\\x$d\\x$c\\x$b\\x$a"
}

# What `--output` writes of the devices 1 and 2.
two_devices() {
    { header 2 && record 1 50 'Fan coil 1' '1F/Room 1' && record 2 50 'Fan coil 2' '1F/Room 2'; } |
        sealed
}

# damaged NAME: the dump of a registry that comes from standard input.
damaged() {
    cat > "$work/damaged.bin"
    run "dump-$1" --dump="$work/damaged.bin"
}

# Registries. Nothing but what the cases name is ever left in the folder.
made=$work/made
mkdir "$made"
device 2 > "$work/east.csv"
device 1 > "$work/west.csv"
two_devices > "$work/two.bin"
run output --output="$made/r.bin" "$work/east.csv" "$work/west.csv"
check output cmp "$work/two.bin" "$made/r.bin"
run output-again --output "$made/r.bin" --time --find= /dev/stdin < <(device 1 && device 2)
check output-again cmp "$work/two.bin" "$made/r.bin"
run output-used --output="$made/r.bin" "$work/east.csv" /dev/stdin "$work/west.csv" \
    < <(device 1 && echo 'a;b' && device 2)
check output-used cmp "$work/two.bin" "$made/r.bin"
run output-used-storage --storage=stdout --output="$made/r.bin" "$work/east.csv" "$work/west.csv" \
    "$work/east.csv"
check output-used-storage cmp "$work/two.bin" "$made/r.bin"
run output-unreadable --output="$made/r.bin" missing.csv "$work/west.csv"
run output-nothing --output="$made/r.bin" /dev/stdin < <(echo 'a;b')
check output-nothing cmp "$made/r.bin" <(header 0 | sealed)

# The same list in each encoding makes the same registry.
run output-encodings --output="$made/r.bin" /dev/stdin < offices-utf-8.csv
cp "$made/r.bin" "$work/offices.bin"
for encoding in utf-16le utf-16be ucs-4; do
    run output-encodings --output="$made/r.bin" /dev/stdin < "offices-$encoding.csv"
    check output-encodings cmp "$work/offices.bin" "$made/r.bin"
done

# Where it cannot be written an older one stays, and nothing else.
cp "$work/two.bin" "$made/r.bin"
limit=1 run output-no-room --output="$made/r.bin" /dev/stdin < <(for n in {1..60}; do device "$n"; done)
check output-no-room cmp "$work/two.bin" "$made/r.bin"
run output-no-directory --output="$made/missing/r.bin" "$work/west.csv"
run output-no-folder --output="$made/r.bin/r.bin" "$work/west.csv"
run output-read-only --output=/sys/r.bin "$work/west.csv"
run output-directory --output="$made" "$work/west.csv"
run output-device --output=/dev/null "$work/west.csv"
check output-device [ -c /dev/null ]
run output-no-name --output= "$work/west.csv"
run output-no-file --output="$made/x.bin" --provoke=warning
check output [ "$(ls -A "$made")" = r.bin ]

run dump --dump="$work/two.bin"
run dump-pipe --dump=/dev/stdin < <(cat "$work/offices.bin")
run dump-empty --dump=/dev/stdin < <(header 0 | sealed)
run dump-missing --dump missing.bin
run dump-directory --dump=.
run dump-list --dump=clean.csv
run dump-endless --dump=/dev/zero
run dump-no-name --dump=
run dump-with-file --dump="$work/two.bin" clean.csv
run dump-with-output --dump="$work/two.bin" --output="$made/r.bin"
damaged magic < <({ printf 'DREH\0\1\0\0\0\0\0\0'; } | sealed)
damaged version < <({ printf 'DREG\0\2\0\0\0\0\0\0'; } | sealed)
damaged reserved < <({ printf 'DREG\0\1\1\0\0\0\0\0'; } | sealed)
damaged count < <({ printf 'DREG\0\1\0\0\377\377\377\377' && record 1 50 Fan 1F/Room; } | sealed)
run dump-count-pipe --dump=/dev/stdin \
    < <({ printf 'DREG\0\1\0\0\377\377\377\377' && record 1 50 Fan 1F/Room; } | sealed)
damaged count-low < <({ header 1 && record 1 50 Fan 1F/Room && record 2 50 Fan 1F/Room; } | sealed)
damaged no-byte < /dev/null
damaged cut-off-header < <(head -c 11 "$work/two.bin")
damaged cut-off-record < <(head -c 60 "$work/two.bin")
damaged cut-off-name < <(head -c 75 "$work/two.bin")
damaged cut-off-location < <(head -c 87 "$work/two.bin")
damaged cut-off-checksum < <(head -c 91 "$work/two.bin")
damaged goes-on < <(cat "$work/two.bin" && printf '\0')
damaged checksum < <(sed 's/coil 2/coil 3/' "$work/two.bin")
damaged nil < <({ header 1 && head -c 16 /dev/zero && record 1 50 Fan 1F/Room | tail -c +17; } | sealed)
damaged order < <({ header 2 && record 2 50 Fan 1F/Room && record 1 50 Fan 1F/Room; } | sealed)
damaged equal < <({ header 2 && record 2 50 Fan 1F/Room && record 2 50 Fan 1F/Room; } | sealed)
damaged level < <({ header 1 && record 1 101 Fan 1F/Room; } | sealed)
damaged no-name-there < <({ header 1 && record 1 50 '' 1F/Room; } | sealed)
damaged long-name < <({ header 1 && record 1 50 "$(repeat 41 n)" 1F/Room; } | sealed)
damaged long-location < <({ header 1 && record 1 50 Fan "1F/$(repeat 30 r)"; } | sealed)
damaged location < <({ header 1 && record 1 50 Fan Room; } | sealed)
damaged name-no-text < <({ header 1 && record 1 50 $'F\374n' 1F/Room; } | sealed)
damaged name-control < <({ header 1 && record 1 50 $'Fan\033[2J' 1F/Room; } | sealed)
damaged location-no-text < <({ header 1 && record 1 50 Fan $'1F/\355\240\200'; } | sealed)
