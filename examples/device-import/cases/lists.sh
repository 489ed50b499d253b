# SPDX-License-Identifier: Apache-2.0
#
# Lists of all kinds, and the options. Read by `compare`, in the folder of the data.

nul_bytes() {
    printf '%s;Fan\0coil;1F/Room 101;50\n' "$(number 1)"
    printf '6f1c7c5e-3b0a-4d52-9e41\0007d20c1a90002;Fan coil;1F/Room 101;50\n'
    printf '%s;Fan coil;1F/Room 101;5\0000\n' "$(number 3)"
    printf '\0\n\0\0\0'
}

odd_bytes() {
    printf '\200;\377\376\n'
    printf '%s;B\303\274ro \342\202\254;1F/B\303\274ro;50\n' "$(number 1)"
    printf '%s;Fan coil;\374F/Room;50\n' "$(number 2)"
    printf '%s;Fan coil;1F/Room;%%s%%n\n' "$(number 3)"
    printf '%s;Fan coil~;1F/Room\177;50\n' "$(number 4)"
    printf ';;;\n;;\n;\n;;;;;;;;\n\r\n\r\r\n \t\r\n #\n{}\n{};a;b\n'
}

# Each limit from both sides; lines 11 and 12 have 256 and 257 bytes.
limits() {
    printf '%s;%s;1F/Room;0\n' "$(number 1)" "$(repeat 40 n)"
    printf '%s;%s;1F/Room;0\n' "$(number 2)" "$(repeat 41 n)"
    printf '%s;Fan coil;1F/%s;100\n' "$(number 3)" "$(repeat 29 r)"
    printf '%s;Fan coil;1F/%s;100\n' "$(number 4)" "$(repeat 30 r)"
    printf '%s;Fan coil;10F/Room;-1\n' "$(number 5)"
    printf '%s;Fan coil;100F/Room;0\n' "$(number 6)"
    printf '%s;Fan coil;/Room;0\n' "$(number 7)"
    printf '%s;Fan coil;1F/Room;-99999999999\n' "$(number 8)"
    printf '%s0;Fan coil;1F/Room;0\n' "$(number 9)"
    printf '%s;Fan coil;1F/Room;%s7\n' "$(number 10)" "$(repeat 200 0)"
    printf '%s;Fan coil;1F/Room;%s7\n' "$(number 11)" "$(repeat 201 ' ')"
    printf '%s;Fan coil;1F/Room;%s7' "$(number 12)" "$(repeat 202 ' ')"
}

# Text of ASCII lines from standard input as UTF-16, with the mark of big-endian.
utf16() {
    printf '\376\377'
    sed 's/./\x00&/g; s/$/\x00/'
}

# A high surrogate before a line feed, a low one, a pair that is whole, and half a unit.
broken_utf16() {
    printf '\377\376'
    printf 'a\0\0\330\n\0'
    printf 'b\0\0\334\n\0'
    printf '=\330\252\336\n\0'
    printf 'c\0d'
}

# A surrogate, the last character, the value behind it, and three quarters of a unit.
broken_ucs4() {
    printf '\377\376\0\0'
    printf 'a\0\0\0\0\330\0\0\n\0\0\0'
    printf '\377\377\020\0\n\0\0\0'
    printf '\0\0\021\0\n\0\0\0'
    printf 'b\0\0'
}

# long_line SIZE: a comment, a line of SIZE bytes and one that is imported.
long_line() {
    echo '# A long line'
    head -c "$1" /dev/zero | tr '\0' x
    printf '\n%s;Fan coil;1F/Room 101;50\n' "$(number 1)"
}

# Two lines that are imported and two that are rejected, one of them with bytes of all kinds.
records() {
    printf '%s;Fan coil;1F/Room 101;50\n' "$(number 1)"
    printf 'a;b\n'
    printf '%s;Fan coil;1F/Room 102;50\n' "$(number 2)"
    printf '\0\t%%s\377;%s' "$(repeat 130 x)"
}

# A pipe that nobody writes to, and nobody closes.
mkfifo "$work/silence"
exec {silence}<> "$work/silence"

# More files than are read at the same time.
clean=(clean.csv clean.csv clean.csv clean.csv clean.csv clean.csv clean.csv clean.csv)

run import devices.csv clean.csv
run clean clean.csv
run many-files clean.csv missing.csv devices.csv "${clean[@]}" "${clean[@]}" missing.csv clean.csv
run unreadable missing.csv . clean.csv
run storage-stdout --storage stdout devices.csv devices.csv
run storage-trace --storage=trace devices.csv
run storage-abort --storage abort devices.csv
run storage-unreadable --storage stdout missing.csv clean.csv
run provoke-assert --provoke assert clean.csv
run provoke-warning --provoke=warning
run provoke-abort --provoke abort clean.csv
run provoke-memory --provoke memory clean.csv
run help --help
run help-short -h missing.csv
run no-file
run unknown-option --bogus clean.csv
run unknown-short-option -xh clean.csv
run missing-argument clean.csv --storage
run unknown-storage --storage heap clean.csv
run unknown-provocation --provoke luck
output=/dev/full run full-output clean.csv

run empty-file /dev/null
run endless-line /dev/zero
run no-final-newline /dev/stdin < <(printf '%s;Fan coil;1F/Room 101;50' "$(number 1)")
run nul-bytes /dev/stdin < <(nul_bytes)
run odd-bytes /dev/stdin < <(odd_bytes)
run limits /dev/stdin < <(limits)
run_long most-lines /dev/stdin < <(yes '#' | head -n 1048576)
silent=(/dev/stdin /dev/stdin /dev/stdin /dev/stdin /dev/stdin /dev/stdin /dev/stdin /dev/stdin)
run time --time devices.csv clean.csv
run time-one-by-one --storage stdout --time missing.csv clean.csv
run time-no-file --time --provoke=warning
run timeout --timeout=20 --time /dev/stdin <&"$silence"
run timeout-all-threads --timeout=20 "${silent[@]}" "${silent[@]}" "${silent[@]}" <&"$silence"
run timeout-among-others --timeout 3000 clean.csv /dev/stdin missing.csv clean.csv <&"$silence"
run timeout-one-by-one --storage stdout --timeout 3000 clean.csv /dev/stdin clean.csv <&"$silence"
run timeout-zero --timeout=0 clean.csv
run timeout-no-number --timeout=20s clean.csv
run timeout-too-long --timeout=2147483648 clean.csv
run_long too-many-lines /dev/stdin < <(yes '#' | head -n 1048577)

# The same list in each encoding, with the same output.
run encodings --find= /dev/stdin < offices-utf-8.csv
run encodings --find= /dev/stdin < <(printf '\357\273\277' && cat offices-utf-8.csv)
run encodings --find= /dev/stdin < offices-utf-16le.csv
run encodings --find= /dev/stdin < offices-utf-16be.csv
run encodings --find= /dev/stdin < offices-ucs-4.csv
run encodings-limits /dev/stdin < <(limits && echo)
run encodings-limits /dev/stdin < <({ limits && echo; } | utf16)
run encodings-blocks --find=light /dev/stdin < devices.csv
run encodings-blocks --find=light /dev/stdin < <(utf16 < devices.csv)
run mark-alone /dev/stdin < <(printf '\357\273\277')
run mark-alone /dev/stdin < <(printf '\377\376')
run mark-alone /dev/stdin < <(printf '\376\377')
run mark-alone /dev/stdin < <(printf '\377\376\0\0')
run mark-cut-off-utf-8 /dev/stdin < <(printf '\357\273')
run mark-cut-off-ucs-4 /dev/stdin < <(printf '\377\376\0')
run broken-utf-8 --find= broken-utf-8.csv
run broken-utf-16 /dev/stdin < <(broken_utf16)
run broken-ucs-4 /dev/stdin < <(broken_ucs4)
run odd-length --find= odd-utf-16le.csv
run endless-line-utf-16 /dev/stdin < <(printf '\376\377' && cat /dev/zero)
run long-line /dev/stdin < <(long_line 65535)
run long-line /dev/stdin < <(printf '\357\273\277' && long_line 65535)
run too-long-line /dev/stdin < <(long_line 65536)

run find --find Büro offices-utf-8.csv offices-utf-16le.csv offices-utf-16be.csv \
    offices-ucs-4.csv clean.csv missing.csv
run find-pair --find=' 🚪' offices-utf-16be.csv
run find-nothing --find büro odd-utf-16le.csv
run find-storage --storage=stdout --find ürko odd-utf-16le.csv
run find-not-utf-8 --find=$'B\374ro' clean.csv
run find-missing-argument clean.csv --find
