#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# build-ovk.sh: builds ovk for a device, one static arm64 program without the simulator, and prints
# where it is.
set -euo pipefail
# shellcheck source=tools/setup.sh
. "$(dirname "$(realpath "$0")")/setup.sh"

# The libraries are headers alone, but stand beside this machine's own, which are not for arm64.
link_headers() {
    local library
    mkdir -p "$folder/include"
    for library in CLI nlohmann; do
        ln -sfn "/usr/include/$library" "$folder/include/$library"
    done
}

folder=$build/ovk-arm64
link_headers
quietly "$folder/configure.log" cmake -S "$top/ovk" -B "$folder" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$top/tools/arm64.cmake" -DCMAKE_BUILD_TYPE=MinSizeRel \
    -DOVK_SIMULATOR=OFF -DOVK_WHOLE_FOLDERS=ON -DOVK_HEADERS="$folder/include"
quietly "$folder/build.log" cmake --build "$folder" --target ovk
echo "$folder/ovk"
