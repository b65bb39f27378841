#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# checkpatch.sh: what the kernel's own checker calls an error in the C that runs in the kernel.
set -euo pipefail
# shellcheck source=tools/setup.sh
. "$(dirname "$0")/setup.sh"
checker=$build/checkpatch

# It comes out of the kernel's source, with its lists of words and structures.
if [[ ! -e $checker/scripts/checkpatch.pl ]]; then
    archive=$("$top/platform/linux/debian-kernel.sh" --out "$build/linux-6.1/kernel" source)
    mkdir -p "$checker"
    tar -xf "$archive" -C "$checker" --strip-components 1 --wildcards '*/scripts/checkpatch.pl' \
        '*/scripts/spelling.txt' '*/scripts/const_structs.checkpatch'
fi
cd "$top"
# Warnings make it fail, too.
findings=$(git ls-files 'platform/linux/*.[ch]' 'lab/siblings/*.[ch]' |
    xargs -n 1 perl "$checker/scripts/checkpatch.pl" --no-tree --terse --no-summary -f || true)
! grep -E ' ERROR: |^(Must|Global|Usage)' <<<"$findings"
