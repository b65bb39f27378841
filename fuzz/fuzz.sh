#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# fuzz.sh BUILD tree|store SECONDS [OPTION...]: runs a fuzzer that is built there, with libFuzzer's
# options.
# fuzz.sh BUILD tree|store FILE: runs it on the input in that file alone.
set -euo pipefail
directory=$1
shift
fuzzer=$directory/fuzz/fuzz-$1
log=$directory/$1.log

if [ -f "$2" ]; then
    exec "$fuzzer" "$2"
fi
echo "fuzz $1: for $2 seconds"
"$fuzzer" -max_total_time="$2" -max_len=256 -timeout=25 -rss_limit_mb=2048 -print_funcs=0 \
    -print_final_stats=1 -artifact_prefix="$directory/$1-" "${@:3}" >"$log" 2>&1 || {
    grep -v '^#' "$log"
    echo "fuzz $1: a finding; './run fuzz $1 FILE' runs the input in that file again"
    exit 1
}
grep '^stat::' "$log"
