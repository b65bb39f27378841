#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# Prints what the module costs on an emulated arm64 Linux: the time of a load, of a read of bw_total
# (beyond the windows that the hardware mandates) and of an unload, and the sizes of ovk_bw.ko. The
# processor is emulated: compare figures of one machine only.
set -euo pipefail
shopt -s inherit_errexit
# shellcheck source=tools/setup.sh
. "$(dirname "$(realpath "$0")")/../tools/setup.sh"

rounds=20

# Under the host kernel a read takes the mandated time and no other.
mandated_us() {
    local before after
    { read -r before && read -r after; } < <(printf '%s\n' load clock 'cat bw_total' clock |
        "$top/run" console | grep -E '^[0-9]+$')
    echo $((after - before))
}

# Best and mean of the rounds, in microseconds, without a share that is not the module's.
summary() { # ACTION NOT-ITS-OWN
    awk -v action="$1" -v share="$2" '
        $1 == action { own = $2 - share; sum += own; if (!count++ || own < best) best = own }
        END { printf "  %-8s %10.0f %10.0f\n", action, best, sum / count }'
}

main() {
    local times mandated
    times=$("$top/run" kernel --unloaded -c \
        "modprobe ovk_dramc && modprobe ovk_smi_tv && ovk-session time $rounds")
    mandated=$(mandated_us)
    printf '\novk_bw.ko on emulated arm64, zt430, playback: microseconds, best and mean of %d\n' \
        "$rounds"
    summary load 0 <<<"$times"
    summary read "$mandated" <<<"$times"
    summary unload 0 <<<"$times"
    printf '  (the hardware mandates another %d for a read)\n\n' "$mandated"
    aarch64-linux-gnu-size "$build/linux-6.1/ovk_bw.ko"
}

main "$@"
