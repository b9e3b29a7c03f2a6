#!/bin/sh
# Runs one script test: run_script_test.sh SKELDA SCRIPT.lua
#   or, for a run without a script: run_script_test.sh SKELDA - EXPECTED
# The script may hold a line "-- expect-status: N" (default 0).  Files beside
# it named like the script with ".expected" and ".stderr" are compared with
# the standard output and error.  A ".expected" file that starts with the
# banner is compared whole, less the lines that vary (date, host, processors);
# one that does not is compared with what the script printed after the header.
skelda=$1
script=$2
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

filter() {
    grep -v -e '^====            compiled at:' -e '^Program executed on:' \
            -e '^Running on host    :' -e '^number of available processors' \
            -e '^maximum number of threads in parallel region' "$1"
}

if [ "$script" = "-" ]; then
    expected=$3
    want=1
    "$skelda" >"$tmp/out" 2>"$tmp/err"
    status=$?
    sed "s#@SKELDA@#$skelda#g" "$expected" >"$tmp/expected"
    expected="$tmp/expected"
    experr=""
else
    dir=$(dirname "$script")
    base=$(basename "$script" .lua)
    want=$(sed -n 's/^-- expect-status: *\([0-9]*\).*/\1/p' "$script" | head -n 1)
    [ -n "$want" ] || want=0
    cd "$dir" || exit 1
    "$skelda" "$base.lua" >"$tmp/out" 2>"$tmp/err"
    status=$?
    expected=""
    [ -f "$base.expected" ] && expected="$base.expected"
    experr=""
    [ -f "$base.stderr" ] && experr="$base.stderr"
fi

fail=0
if [ "$status" != "$want" ]; then
    echo "exit status $status, expected $want"
    fail=1
fi
if [ -n "$expected" ]; then
    if head -n 1 "$expected" | grep -q '^====='; then
        filter "$tmp/out" >"$tmp/out.filtered"
    else
        # A golden file without the banner: compare what follows the header
        # (banner, machine lines and the empty line after them).
        awk 'done { print; next } /^Smallest deviation from 1:/ { skip = 1; next }
             skip { done = 1; next }' "$tmp/out" >"$tmp/out.filtered"
    fi
    filter "$expected" >"$tmp/exp.filtered"
    if ! diff -u "$tmp/exp.filtered" "$tmp/out.filtered"; then
        echo "standard output differs from $expected"
        fail=1
    fi
fi
if [ -n "$experr" ] && ! diff -u "$experr" "$tmp/err"; then
    echo "standard error differs from $experr"
    fail=1
fi
if [ $fail -ne 0 ]; then
    echo "---- stdout"; cat "$tmp/out"
    echo "---- stderr"; cat "$tmp/err"
    exit 1
fi
exit 0
