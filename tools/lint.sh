#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# lint.sh BUILD: checks the sources, as they are compiled in that folder, with clang-tidy.
set -euo pipefail
cd "$(dirname "$0")/.."

# A linter that crashes has found nothing: that is said, and no reason to fail. The compiler's own
# names for the kernel's format strings are unknown to it.
lint() { # BUILD SOURCE...
    local status=0
    clang-tidy-14 -p "$1" --quiet --extra-arg=-Wno-ignored-attributes "${@:2}" 2>/dev/null ||
        status=$?
    if [ "$status" -ge 128 ]; then
        printf 'clang-tidy crashed on %s\n' "${*:2}" >&2
    elif [ "$status" -ne 0 ]; then
        return 1
    fi
}

export -f lint
git ls-files --cached --others --exclude-standard -- \
    'module/*.cpp' 'devicetree/*.cpp' 'soc/*.cpp' 'platform/host/*.cpp' 'sim/*.cpp' \
    'ovk/*.cpp' ':!ovk/tests' |
    xargs -n 2 bash -c 'lint "$@"' lint "$1"
