#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# packages.sh: builds the Debian packages into build/packages, has lintian look at them, and builds
# the module with DKMS out of the package for Debian's arm64 kernel. Needs no privilege: the package
# is unpacked instead of installed. Leaves build/packages/ovk_bw.ko.
set -euo pipefail
shopt -s inherit_errexit
# shellcheck source=tools/setup.sh
. "$(dirname "$0")/setup.sh"
cd "$top"
folder=$build/packages
version=$(sed -n 's/#define OVK_VERSION "\(.*\)"/\1/p' platform/version.h)

fail() {
    say "packages: $*"
    exit 1
}

# The build writes into its tree: it gets one of its own.
build_packages() {
    rm -rf "$folder"
    mkdir -p "$folder/source"
    git ls-files -z --cached --others --exclude-standard | cpio --null -pdm --quiet "$folder/source"
    (cd "$folder/source" && quietly "$folder/build.log" dpkg-buildpackage -b -us -uc)
    # And for devices, with this machine's compiler for them.
    OVK_CURSES=$(platform/linux/debian-kernel.sh --out "$build/linux-6.1/kernel" curses)
    export OVK_CURSES
    (cd "$folder/source" && DEB_BUILD_OPTIONS="${DEB_BUILD_OPTIONS:-} noautodbgsym" \
        quietly "$folder/build-arm64.log" dpkg-buildpackage -B -aarm64 -d -us -uc)
    lintian --fail-on error "$folder"/*.changes
}

build_with_dkms() {
    local headers release root=$folder/root
    platform/linux/build-module.sh --out "$build/linux-6.1"
    headers=$(platform/linux/debian-kernel.sh --out "$build/linux-6.1/kernel" headers)
    release=$(sed -nE 's/.*UTS_RELEASE "(.*)"/\1/p' "$headers/include/generated/utsrelease.h")
    dpkg -x "$folder/ovk-bw-dkms_${version}_all.deb" "$root"
    mkdir -p "$folder/dkms"
    ARCH=arm64 CROSS_COMPILE=aarch64-linux-gnu- \
        KBUILD_EXTRA_SYMBOLS=$build/linux-6.1/objects/siblings/Module.symvers \
        quietly "$folder/dkms.log" dkms build "ovk-bw/$version" -k "$release" -a aarch64 \
        --sourcetree "$root/usr/src" --dkmstree "$folder/dkms" --kernelsourcedir "$headers" \
        --no-depmod
    find "$folder/dkms" -name 'ovk_bw.ko*' -path '*/module/*' -exec cp {} "$folder/" \;
    [[ -e $folder/ovk_bw.ko ]] || fail "DKMS left no ovk_bw.ko; its log is $folder/dkms.log"
}

[[ $(dpkg-parsechangelog -S Version) == "$version" ]] ||
    fail "debian/changelog has another version than platform/version.h"
install_missing "${module_packages[@]}" "${package_packages[@]}"
build_packages
build_with_dkms
