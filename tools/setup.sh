# SPDX-License-Identifier: GPL-2.0-only
# Sourced by the top-level commands: packages and builds. Speaks on standard error only.
# shellcheck shell=bash disable=SC2034

top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$top/build

simulator_packages=(g++ cmake ninja-build pkg-config libfdt-dev device-tree-compiler
    libcli11-dev libtomlplusplus-dev libedit-dev nlohmann-json3-dev libjs-chart.js libncurses-dev)
module_packages=(make gcc-12-aarch64-linux-gnu g++-12-aarch64-linux-gnu kmod)
lab_packages=(qemu-system-arm cpio)
kernel_packages=(flex bison bc libssl-dev libelf-dev xz-utils)
llvm_packages=(clang-16 lld-16 llvm-16)
check_packages=(libgtest-dev python3-jsonschema python3-pyte clang-format-14 clang-tidy-14 shellcheck mandoc dt-schema
    busybox toybox mksh)
viewer_packages=(chromium prometheus openssh-client openssh-server)
bench_packages=(libbenchmark-dev)
package_packages=(debhelper dh-dkms dkms lintian dpkg-dev cpio bash-completion g++-aarch64-linux-gnu)
fuzz_packages=(clang-14 libclang-rt-14-dev)

say() {
    printf '%s\n' "$*" >&2
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    else
        sudo "$@"
    fi
}

missing_packages() {
    local package
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed' ||
            printf '%s\n' "$package"
    done
}

# Runs a command with its output in a log file, which is shown only when the command fails.
quietly() {
    local log=$1
    shift
    mkdir -p "$(dirname "$log")"
    if ! "$@" >"$log" 2>&1; then
        cat "$log" >&2
        say "failed: $*"
        return 1
    fi
}

install_missing() {
    local missing
    mapfile -t missing < <(missing_packages "$@")
    if [ "${#missing[@]}" -eq 0 ]; then
        return
    fi
    say "installing ${missing[*]}"
    quietly "$build/apt-update.log" as_root apt-get update
    quietly "$build/apt-install.log" as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}"
}

# build_host DIRECTORY [CMAKE-OPTION...] [-- TARGET...]: configures the host side there and builds
# the targets, or everything. On a terminal the build shows how far it is.
build_host() {
    local directory=$build/$1 options=() targets=()
    shift
    while (($# > 0)) && [ "$1" != -- ]; do
        options+=("$1")
        shift
    done
    (($# == 0)) || targets=(--target "${@:2}")
    if [ ! -f "$directory/build.ninja" ]; then
        say "building in ${directory#"$top"/}"
    fi
    quietly "$directory/configure.log" cmake -S "$top" -B "$directory" -G Ninja "${options[@]}"
    if [ -t 2 ] && ! ninja -C "$directory" -n "${targets[@]:1}" | grep -q 'no work to do'; then
        ninja -C "$directory" "${targets[@]:1}" >&2
    else
        quietly "$directory/build.log" cmake --build "$directory" "${targets[@]}"
    fi
}

# Sanitizers for addresses and for threads do not go together: the storm has a build of its own. It
# is that of the compiler with which users build, too.
run_storm() {
    build_host storm -DOVK_SANITIZE=thread -DCMAKE_BUILD_TYPE=Debug -DOVK_WHOLE_FOLDERS=ON -- ovk_storm
    timeout 300 "$build/storm/tests/ovk_storm"
}

# The fuzzers' compiler and its sanitizers, for the build in which the tests run, too.
fuzz_build=(-DOVK_FUZZ=ON -DCMAKE_CXX_COMPILER=clang++-14
    "-DOVK_SANITIZE=fuzzer-no-link,address,undefined")

build_fuzzers() {
    build_host fuzz "${fuzz_build[@]}" -DOVK_TESTS=OFF -- fuzz-tree fuzz-store
}
