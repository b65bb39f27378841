#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# Builds a small arm64 kernel out of Debian's source, once, and prints its build folder. The image
# to boot is arch/arm64/boot/Image there.
set -euo pipefail
shopt -s inherit_errexit
# shellcheck source=tools/setup.sh
. "$(dirname "$(realpath "$0")")/../tools/setup.sh"

release=6.1

usage() {
    say "usage: build-kernel.sh strict|clang"
    exit 2
}

fail() {
    say "build-kernel: $*"
    exit 1
}

# The tree is unpacked once for both kernels. Documentation, tools and other machines stay out.
unpack_source() {
    local archive
    [[ ! -e $source/Makefile ]] || return 0
    archive=$("$top/platform/linux/debian-kernel.sh" --release "$release" \
        --out "$build/linux-$release/kernel" source)
    rm -rf "$source.new"
    mkdir -p "$source.new"
    tar -xf "$archive" -C "$source.new" --strip-components 1 --exclude='*/Documentation/*/*' \
        --exclude='*/tools/testing' --exclude='*/tools/perf' --exclude='*/drivers/gpu/drm/amd/include/asic_reg'
    mv "$source.new" "$source"
}

# What the fragments ask for must be in the configuration: the kernel drops silently what it has not.
check_configuration() {
    local wanted
    while IFS= read -r wanted; do
        case $wanted in
        *=n) ! grep -q "^${wanted%=n}=" "$folder/.config" || fail "${wanted%=n} is not off" ;;
        *) grep -qx "$wanted" "$folder/.config" || fail "no $wanted in the configuration" ;;
        esac
    done < <(grep -h ^CONFIG_ "${fragments[@]}")
}

kernel_make() {
    make -C "$source" O="$folder" ARCH=arm64 "${compiler[@]}" -j"$(nproc)" "$@"
}

# Without the tree's Module.symvers no module can be built: `modules` writes it.
build_kernel() {
    say "building the $name kernel, which takes some minutes"
    rm -rf "$folder"
    mkdir -p "$folder"
    cat "${fragments[@]}" >"$folder/fragment"
    quietly "$folder/configure.log" kernel_make KCONFIG_ALLCONFIG="$folder/fragment" allnoconfig
    check_configuration
    quietly "$folder/build.log" kernel_make Image modules
    touch "$folder/built"
}

(($# == 1)) || usage
name=$1
case $name in
strict)
    packages=()
    compiler=(CROSS_COMPILE=aarch64-linux-gnu- CC=aarch64-linux-gnu-gcc-12)
    ;;
clang)
    packages=("${llvm_packages[@]}")
    compiler=(LLVM=-16 CROSS_COMPILE=aarch64-linux-gnu-)
    ;;
*) usage ;;
esac
source=$build/kernel-source-$release
folder=$build/kernel-$name
fragments=("$top/lab/kernels/common.config" "$top/lab/kernels/$name.config")

if [[ ! -e $folder/built ]] || ! cat "${fragments[@]}" | cmp -s - "$folder/fragment"; then
    install_missing "${module_packages[@]}" "${kernel_packages[@]}" "${packages[@]}"
    unpack_source
    build_kernel
fi
echo "$folder"
