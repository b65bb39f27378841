#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# lint.sh: checks the sources with clang-tidy.
#
# Headers take most of its time. Sources of one folder are therefore looked at as one, except where
# they use the same names: the registers of the chip's blocks.
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
for folder in $(sources 'module/*.cpp' | xargs -n 1 dirname | sort -u) devicetree platform/host sim \
    ovk ovk/base ovk/command ovk/compare ovk/doctor ovk/plot ovk/qos ovk/report \
    ovk/source ovk/top ovk/watch; do
    sources ":(glob)$folder/*.cpp" | sed 's/.*/#include "&"/' >"$work/${folder//\//_}.cpp"
    checks=
    [[ $folder != module/* ]] || checks=$analysis
    lint "$checks" "$work/${folder//\//_}.cpp" || status=1
done
for source in $(sources 'soc/*.cpp'); do
    lint '' "$source" || status=1
done
exit "$status"
