#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# Fetches what Debian has for an arm64 kernel into a folder and prints the path of the part asked
# for. Nothing is installed and no privilege is needed: apt runs with lists, caches and
# architectures of its own below that folder, and packages are only unpacked. What was fetched once
# stays; remove the folder to fetch anew.
set -euo pipefail
shopt -s inherit_errexit

usage() {
    cat >&2 <<'END'
usage: debian-kernel.sh [--release 5.10|6.1|6.12] --out DIR headers|image|busybox|curses|source
  headers   prints the folder to build modules against, with tools of this machine's architecture
  image     prints the kernel to boot
  busybox   prints a static arm64 busybox
  curses    prints the folder of ncurses for static arm64 programs
  source    prints the archive of the kernel's source
END
    exit 2
}

fail() {
    echo "debian-kernel: $*" >&2
    exit 1
}

release=6.1
out=
part=

parse_arguments() {
    while (($# > 0)); do
        case $1 in
        --release | --out) (($# > 1)) || usage ;;&
        --release) release=$2 && shift ;;
        --out) out=$2 && shift ;;
        headers | image | busybox | curses | source) part=$1 ;;
        *) usage ;;
        esac
        shift
    done
    [[ -n $out && -n $part ]] || usage
    suite_of_release >/dev/null
    mkdir -p "$out"
    out=$(realpath "$out")
}

suite_of_release() {
    case $release in
    5.10) echo bullseye ;;
    6.1) echo bookworm ;;
    6.12) echo bookworm-backports ;;
    *) fail "Debian has no $release here; known are 5.10, 6.1 and 6.12" ;;
    esac
}

# Backports are taken only where they are asked for; a plain suite yields to its security updates.
default_release() {
    local suite
    suite=$(suite_of_release)
    [[ $suite != *-backports ]] || echo "APT::Default-Release \"$suite\";"
}

# Where the machine's own apt gets a suite from; empty if it does not.
mirror_of() { # SUITE
    apt-get update --print-uris | sed -nE "s,^'(.*)/dists/$1/InRelease'.*,\1,p" | awk 'NR == 1'
}

# A machine that has bookworm has the address of the other suites, too. The lists of bullseye's
# security updates outlived the packages that they name.
apt_sources() {
    local archive security suite
    suite=$(suite_of_release)
    archive=$(mirror_of bookworm)
    security=$(mirror_of bookworm-security)
    [[ -n $archive ]] || fail "apt on this machine has no source for Debian bookworm"

    apt_source "$archive" "${suite%-backports}"
    if [[ $suite == *-backports ]]; then
        apt_source "$archive" "$suite"
    elif [[ $suite != bullseye && -n $security ]]; then
        apt_source "$security" "$suite-security"
    fi
}

apt_source() { # ADDRESS SUITE
    echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $1 $2 main"
}

apt_configuration() {
    cat <<END
#clear APT::Architectures;
#clear APT::Update;
#clear DPkg::Post-Invoke;
APT::Architectures { "$(dpkg --print-architecture)"; "arm64"; };
$(default_release)
APT::Sandbox::User "$(id --user --name)";
Dir::State "$out/apt";
Dir::State::Status "/var/lib/dpkg/status";
Dir::Cache "$out/apt";
Dir::Etc::SourceList "$out/apt/sources.list";
Dir::Etc::SourceParts "/dev/null";
Dir::Etc::Preferences "/dev/null";
Dir::Etc::PreferencesParts "/dev/null";
END
}

update_lists() {
    mkdir -p "$out/apt/lists/partial" "$out/apt/archives/partial"
    apt_sources >"$out/apt/sources.list"
    apt_configuration >"$out/apt/apt.conf"
    apt-get -c "$out/apt/apt.conf" -qq --error-on=any update >&2 ||
        fail "apt could not update its lists"
}

# The first dependency of that kind, without its architecture.
dependency() { # PACKAGE PATTERN
    apt-cache -c "$out/apt/apt.conf" depends "$1" |
        sed -nE "s/^ [ |]Depends: <?($2)(:[a-z0-9]+)?>?\$/\1/p" | awk 'NR == 1'
}

download() { # PACKAGE...
    mkdir -p "$out/download"
    rm -f "$out"/download/*.deb
    (cd "$out/download" && apt-get -c "$out/apt/apt.conf" -qq download "$@" >&2) ||
        fail "could not download: $*"
}

unpack_all() {
    local package
    for package in "$out"/download/*.deb; do
        dpkg -x "$package" "$out/root"
    done
}

fetch_headers() {
    local headers common kbuild folder
    headers=$(dependency linux-headers-arm64:arm64 'linux-headers-[^:>]*-arm64')
    [[ -n $headers ]] || fail "no arm64 headers in $(suite_of_release)"
    common=$(dependency "$headers:arm64" 'linux-headers-[^:>]*-common')
    kbuild=$(dependency "$headers:arm64" 'linux-kbuild-[^:>]*')
    download "$headers:arm64" "$common" "$kbuild:$(dpkg --print-architecture)"
    unpack_all

    # The top Makefile knows the common part by the place where it would be installed.
    folder=$out/root/usr/src/$headers
    echo "include $out/root/usr/src/$common/Makefile" >"$folder/Makefile"
    echo "$folder"
}

fetch_image() {
    local image
    image=$(dependency linux-image-arm64:arm64 'linux-image-[^:>]*-arm64')
    [[ -n $image ]] || fail "no arm64 kernel in $(suite_of_release)"
    download "$image:arm64"
    mkdir -p "$out/root"
    dpkg --fsys-tarfile "$out"/download/*.deb | tar -x -C "$out/root" ./boot
    echo "$out/root/boot/vmlinuz-${image#linux-image-}"
}

fetch_busybox() {
    download busybox-static:arm64
    unpack_all
    find "$out/root" -path '*/bin/busybox' -type f
}

fetch_curses() {
    download libncurses-dev:arm64
    unpack_all
    echo "$out/root/usr/lib/aarch64-linux-gnu"
}

fetch_source() {
    download "linux-source-$release"
    unpack_all
    echo "$out/root/usr/src/linux-source-$release.tar.xz"
}

main() {
    local path
    parse_arguments "$@"
    if [[ -e $out/$part.path && -e $(<"$out/$part.path") ]]; then
        cat "$out/$part.path"
        return
    fi
    echo "debian-kernel: fetching $part of Linux $release for arm64" >&2
    update_lists
    path=$("fetch_$part")
    [[ -e $path ]] || fail "the $part of $release were not where they were expected"
    rm -rf "$out/download"
    echo "$path" | tee "$out/$part.path"
}

main "$@"
