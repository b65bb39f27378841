#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# lint.sh: checks the sources with clang-tidy.
#
# Headers take most of its time: sources are looked at as one, as a whole build compiles them.
set -euo pipefail
cd "$(dirname "$0")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
flags=(-std=c++20 -I. -Imodule -Wall -Wextra '-DOVK_DATA_DIR=""' '-DOVK_MODULE_IMAGE=""'
    '-DDEVICETREE_DTC=""' '-DOVK_PLOT_DIR=""'
    '-DOVK_CHART_LIBRARY=""' '-DOVK_TERMINAL_DESCRIPTION=""')

# No sanitizer watches the kernel: what runs there is analyzed as well, included files or not.
analysis='clang-analyzer-*,-clang-analyzer-core.uninitialized.UndefReturn'
flags+=(-Xclang -analyzer-opt-analyze-headers)

sources() { # PATTERN...
    git ls-files --cached --others --exclude-standard -- "$@"
}

# A linter that crashes has found nothing: that is said, and no reason to fail.
lint() { # CHECKS SOURCE
    local status=0
    clang-tidy-14 --quiet --config-file=.clang-tidy --checks="$1,-bugprone-suspicious-include" "$2" -- "${flags[@]}" \
        2>"$work/said" || status=$?
    if [ "$status" -ge 128 ]; then
        echo "clang-tidy crashed on $2" >&2
    elif [ "$status" -ne 0 ]; then
        cat "$work/said" >&2
        return 1
    fi
}

status=0
one=0
lint_as_one() { # CHECKS SOURCE...
    local checks=$1 all=$work/$((++one)).cpp
    shift
    printf '#include "%s"\n' "$@" >"$all"
    lint "$checks" "$all" || status=1
}

for folder in $(sources 'module/*.cpp' | xargs -n 1 dirname | sort -u); do
    mapfile -t found < <(sources "$folder/*.cpp")
    lint_as_one "$analysis" "${found[@]}"
done
alone=(ovk/main.cpp ovk/top/terminal.cpp ovk/top/terminal_kind.cpp)
for part in devicetree platform/host sim soc ovk; do
    mapfile -t found < <(sources "$part/*.cpp" | grep -v ^ovk/tests/ |
        grep -vxF "${alone[@]/#/-e}")
    lint_as_one '' "${found[@]}"
done
for source in "${alone[@]}"; do
    lint '' "$source" || status=1
done
exit "$status"
