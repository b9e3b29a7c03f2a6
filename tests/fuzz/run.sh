#!/bin/sh
# Runs the fuzzer in a fresh directory (calls may create files there).
#   run.sh SKELDA SEED CALLS [PROCESSES]
# Prints the calls made, the crashes and the hangs (a run longer than ten
# minutes), and fails when there is a crash, a hang or a corrupted state.
skelda=$1
seed=${2:-1}
calls=${3:-20000}
procs=${4:-1}
here=$(cd "$(dirname "$0")" && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
crashes=0
hangs=0
i=0
while [ $i -lt "$procs" ]; do
    mkdir "$tmp/$i"
    printf 'FUZZ_SEED=%d\nFUZZ_CALLS=%d\ndofile("%s/fuzz.lua")\n' $((seed + i)) "$calls" "$here" >"$tmp/$i/run.lua"
    (cd "$tmp/$i" && timeout 600 "$skelda" run.lua >out.txt 2>err.txt; echo $? >rc) &
    i=$((i + 1))
done
wait
i=0
status=0
while [ $i -lt "$procs" ]; do
    rc=$(cat "$tmp/$i/rc")
    if [ "$rc" -eq 124 ]; then hangs=$((hangs + 1)); status=1
    elif [ "$rc" -ne 0 ]; then crashes=$((crashes + 1)); status=1; tail -20 "$tmp/$i/err.txt"; fi
    i=$((i + 1))
done
echo "fuzz: $((calls * procs)) calls from seed $seed, $crashes crashes, $hangs hangs"
exit $status
