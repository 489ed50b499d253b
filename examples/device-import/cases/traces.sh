# SPDX-License-Identifier: Apache-2.0
#
# What is traced, and how it is changed. Read by `compare`, after the lists.

# In the order of the tree: what is set, what is inherited, what is set for both.
ZEL_TRACE=import=info,list=debug run trace /dev/stdin < <(records)
ZEL_TRACE=debug run trace-root clean.csv missing.csv --storage stdout
ZEL_TRACE=import=debug run trace-inherited clean.csv
ZEL_TRACE=import=debug,import_queue=warning run trace-own-level clean.csv
ZEL_TRACE=info,import_queue=debug,import=none run trace-none clean.csv
ZEL_TRACE=list=off,import=off,list=debug run trace-last clean.csv
ZEL_TRACE=import_queue_more=trace,lis=trace,list_=trace run trace-unknown-channel \
    /dev/stdin < <(records)
ZEL_TRACE=trace,import=off,list=off run trace-off missing.csv
ZEL_TRACE='' run trace-empty missing.csv
ZEL_TRACE=import=warning run trace-failure --timeout=20 /dev/stdin <&"$silence"
ZEL_TRACE=import_queue=off run trace-failure-own-level --timeout=20 /dev/stdin <&"$silence"
ZEL_TRACE=import=error run trace-failure-unwatched --timeout=20 /dev/stdin <&"$silence"
ZEL_TRACE=debug counted=true run trace-threads \
    "${clean[@]}" missing.csv /dev/stdin "${clean[@]}" missing.csv < <(records)
ZEL_TRACE=list=debug run trace-storage --storage stdout clean.csv /dev/stdin < <(records)
ZEL_TRACE=loud run trace-dump --dump=missing.bin

# What cannot be done is said, and the import goes on.
ZEL_TRACE=warn,import=INFO,list=,=info,import=info=,,list=debug run trace-not-understood clean.csv
ZEL_TRACE="import=$(repeat 300 x)" run trace-long-level clean.csv
ZEL_TRACE_SINKS=stdout,file: run trace-no-sink clean.csv
ZEL_TRACE=list=debug ZEL_TRACE_QUEUE=many run trace-queue-no-number clean.csv
ZEL_TRACE_CONTROL=$work/none/socket run trace-no-socket clean.csv
run trace-option --trace=import=info clean.csv

# Without a queue nothing is lost when the process ends by itself.
ZEL_TRACE=debug ZEL_TRACE_QUEUE=0 run trace-abort --storage abort devices.csv

# until_listed COMMAND...: waits until the program has the channel, for a minute at most.
until_listed() {
    local end=$((SECONDS + 60))
    until "${tracectl[@]}" list 2> "$work/refused" | grep -q " $1\$"; do
        if [ $SECONDS -ge $end ]; then return 1; fi
    done
}

# What a tool asks of an import that waits for its input, and the input. The channel of the queue is
# the last one that the program adds, after its first messages.
switch_levels() {
    until_listed import_queue && "${tracectl[@]}" set import info
    "${tracectl[@]}" set list debug
    "${tracectl[@]}" set list loud
    "${tracectl[@]}" set lists debug
    "${tracectl[@]}" list | sort -k 4
} > "$work/said" 2>&1

export ZEL_TRACE_CONTROL=$work/socket
run trace-switched /dev/stdin < <(switch_levels && records)
sed -E 's#^[0-9]+ #ID #' "$work/said" > "$work/answers"
check trace-switched diff - "$work/answers" << 'END'
zel-tracectl: no such level: loud
zel-tracectl: no such channel: lists
ID info info import
ID none info import_queue
ID debug debug list
END
check trace-switched [ ! -e "$work/socket" ]
unset ZEL_TRACE_CONTROL
