#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# command_line_test.sh OVK-SIM: what the simulator's commands print, and their exit status.
set -euo pipefail
sim=$1
failures=0

# Both outputs in one; a pattern of the shell matches as a whole.
expect() { # STATUS PATTERN ARGUMENT...
    local wanted=$1 pattern=$2 said status=0
    shift 2
    said=$("$sim" "$@" 2>&1) || status=$?
    # shellcheck disable=SC2053 # a pattern
    if [[ $status != "$wanted" || $said != $pattern ]]; then
        printf 'FAILED: %s: status %s\n%s\n' "$*" "$status" "$said"
        failures=$((failures + 1))
    fi
}

expect 0 'ovk-sim [0-9]*' --version
expect 2 'did you mean: cat bw_total[?]*' bw_total
expect 0 $'debug_log_on\nreg_op\n*\nfifo_status_clear' ls
expect 0 $'<6>chip dram clock:\[3200]\n*' dmesg
expect 0 $'W32 larb8+0x404 0x00000001\n*' trace bw_larb
expect 0 '*set m_id: 9, enable: 1, time: 50 ms, proc: 0' write bw_total 9 1 50 0
expect 0 'the module is unloaded now*' write bw_total 9 1 50 0
expect 1 'error: simple_mon: read: EACCES' cat simple_mon
expect 0 'reg_op: shows registers*' cat reg_op
expect 0 $'==> bw_bus <==\n*%\n==> cpupri_slot <==\n*' cat bw_bus cpupri_slot
expect 0 $'Starting Monitor......\n\n  ID *\nCPU  *[###  *' --plain
script=$(mktemp)
trap 'rm -f "$script"' EXIT
printf 'load\nload\n' >"$script"
expect 0 'error: load: -17' console "$script"
expect 1 'error: load: -17' console --strict "$script"
exit "$failures"
