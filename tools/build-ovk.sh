#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# build-ovk.sh: builds ovk for a device, one static arm64 program without the simulator, and prints
# where it is.
set -euo pipefail
# shellcheck source=tools/setup.sh
. "$(dirname "$(realpath "$0")")/setup.sh"

# Most libraries are headers alone, but stand beside this machine's own, which are not for arm64.
link_headers() {
    local header
    mkdir -p "$folder/include"
    for header in CLI nlohmann curses.h ncurses.h ncurses_dll.h unctrl.h; do
        ln -sfn "/usr/include/$header" "$folder/include/$header"
    done
}

folder=$build/ovk-arm64
link_headers
curses=$("$top/platform/linux/debian-kernel.sh" --out "$build/linux-6.1/kernel" curses)
quietly "$folder/configure.log" cmake -S "$top/ovk" -B "$folder" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$top/tools/arm64.cmake" -DCMAKE_BUILD_TYPE=MinSizeRel \
    -DOVK_SIMULATOR=OFF -DOVK_WHOLE_FOLDERS=ON -DOVK_HEADERS="$folder/include" \
    -DOVK_CURSES="$curses"
quietly "$folder/build.log" cmake --build "$folder" --target ovk
echo "$folder/ovk"
