#!/bin/sh
# The variable store across two runs: put.lua saves variables into a store in
# a fresh directory, and get.lua, run by a second process, reads them back.
#   run.sh SKELDA
skelda=$1
here=$(cd "$(dirname "$0")" && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
cp "$here/../check.lua" "$here/put.lua" "$here/put.expected" "$here/get.lua" "$here/values.lua" "$tmp/" || exit 1
sh "$here/../run_script_test.sh" "$skelda" "$tmp/put.lua" || exit 1
sh "$here/../run_script_test.sh" "$skelda" "$tmp/get.lua"
