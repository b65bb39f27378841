#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# Builds ovk_bw.ko and the two sibling modules for an arm64 kernel and refuses what would not run
# there. Leaves OUT/ovk_bw.ko, OUT/ovk-dramc.ko and OUT/ovk-smi-tv.ko (and what else the lab needs)
# without debug information; those with it stay in OUT/objects.
set -euo pipefail
shopt -s inherit_errexit

usage() {
    cat <<'END'
usage: ./run module [--kdir DIR | --release 5.10|6.1|6.12] [--cross PREFIX | --llvm [-VERSION]]
                    [--out DIR]
  --kdir DIR         build folder or headers of the kernel to build for
  --release VERSION  without --kdir: Debian's kernel of that version, fetched once (default 6.1)
  --cross PREFIX     of the compiler and binutils (default aarch64-linux-gnu-)
  --llvm [-VERSION]  build with clang, lld and LLVM's tools, for instance --llvm -16
  --out DIR          default build/linux-VERSION, or build/linux with --kdir
END
}

refuse() {
    usage >&2
    exit 2
}

fail() {
    echo "build-module: $*" >&2
    exit 1
}

here=$(dirname "$(realpath "$0")")
repository=$(realpath "$here/../..")
kernel_folder=
release=6.1
cross=aarch64-linux-gnu-
llvm=false
version=
out=

default_folder() {
    if [[ -n $kernel_folder ]]; then
        echo linux
    else
        echo "linux-$release"
    fi
}

parse_arguments() {
    while (($# > 0)); do
        case $1 in
        -h | --help) usage && exit ;;
        --llvm)
            llvm=true
            [[ ${2:-} != -[0-9]* ]] || { version=$2 && shift; }
            shift && continue
            ;;
        *) (($# > 1)) || refuse ;;&
        --kdir) kernel_folder=$(realpath "$2") ;;
        --release) release=$2 ;;
        --cross) cross=$2 ;;
        --out) out=$2 ;;
        *) refuse ;;
        esac
        shift 2
    done
    [[ -n $out ]] || out=$repository/build/$(default_folder)
    mkdir -p "$out"
    out=$(realpath "$out")
}

# The version that Debian's headers ask for by name, or whatever the prefix has.
gnu_compiler() { # gcc|g++
    command -v "$cross$1-12" || command -v "$cross$1" || fail "there is no $cross$1"
}

# Sets `toolchain`, variables of the kernel's build, and `flags`, the compiler's. Older kernels know LLVM's tools by their names
# only, without a version.
choose_toolchain() {
    toolchain=(CROSS_COMPILE="$cross")
    flags=(-Werror)
    if $llvm; then
        command -v "clang$version" >/dev/null || fail "there is no clang$version"
        toolchain+=(CC="clang$version" OVK_CXX="clang++$version" LD="ld.lld$version"
            AR="llvm-ar$version" NM="llvm-nm$version" OBJCOPY="llvm-objcopy$version"
            OBJDUMP="llvm-objdump$version" READELF="llvm-readelf$version"
            STRIP="llvm-strip$version" LLVM_IAS=1
            CONFIG_CC_IS_GCC= CONFIG_CC_IS_CLANG=y)
        # A kernel that gcc built has set up gcc's warnings.
        flags+=(-Wno-unknown-warning-option)
    else
        toolchain+=(CC="$(gnu_compiler gcc)" OVK_CXX="$(gnu_compiler g++)")
    fi
}

# The build writes beside its sources: give it a folder of links. What has gone goes there, too.
mirror() { # FROM TO NAME...
    local from=$1 to=$2
    shift 2
    mkdir -p "$to"
    find "$to" -xtype l -print -delete | while IFS= read -r link; do
        rm -f "${link%.*}.o"
    done
    (cd "$from" && find "$@" -type d -exec mkdir -p "$to/{}" \; \
        -o -exec ln -sf "$from/{}" "$to/{}" \;)
}

# Type information for BPF takes a tool and, of C++, tells nothing: it is left out.
kernel_make() { # FOLDER [VARIABLE=VALUE...]
    local folder=$1
    shift
    make -C "$kernel_folder" -j"$(nproc)" M="$folder" ARCH=arm64 "${toolchain[@]}" \
        KCFLAGS="${flags[*]}" CONFIG_DEBUG_INFO_BTF_MODULES= "$@" modules >"$folder/build.log" 2>&1 || {
        grep -vE '^(make|  [A-Z]+ )' "$folder/build.log" >&2
        fail "the build failed; the whole log is $folder/build.log"
    }
}

build_siblings() {
    mirror "$repository/lab/siblings" "$out/objects/siblings" .
    kernel_make "$out/objects/siblings"
}

build_module() {
    mirror "$repository" "$out/objects/ovk_bw" Kbuild module platform
    kernel_make "$out/objects/ovk_bw" KBUILD_EXTRA_SYMBOLS="$out/objects/siblings/Module.symvers"
}

reject_unfit() {
    "$here/reject.sh" --cross "$cross" --objects "$out/objects/ovk_bw/module" \
        --module "$out/objects/ovk_bw/ovk_bw.ko" --symvers "$kernel_folder/Module.symvers" \
        --symvers "$out/objects/siblings/Module.symvers" || fail "the module was refused"
}

strip_into_out() { # KO...
    local module
    for module in "$@"; do
        "${cross}strip" --strip-debug -o "$out/$(basename "$module")" "$module"
    done
}

# Asking the kernel's build what is to do takes seconds; most often nothing has changed. Folders
# are looked at, too: they tell when a file went.
up_to_date() {
    [[ -e $out/built_for && $(<"$out/built_for") == "$kernel_folder ${toolchain[*]}" ]] || return 1
    [[ -z $(find "$repository"/{Kbuild,module,platform/kernel.h,platform/linux,lab/siblings} \
        "$kernel_folder/Module.symvers" -newer "$out/built_for" -print -quit) ]]
}

build() {
    rm -f "$out/built_for"
    echo "$kernel_folder ${toolchain[*]}" >"$out/building_for" # its age: sources may change meanwhile
    build_siblings
    build_module
    reject_unfit
    strip_into_out "$out"/objects/siblings/*.ko "$out/objects/ovk_bw/ovk_bw.ko"
    mv "$out/building_for" "$out/built_for"
}

main() {
    parse_arguments "$@"
    if [[ -z $kernel_folder ]]; then
        kernel_folder=$("$here/debian-kernel.sh" --release "$release" --out "$out/kernel" headers)
    fi
    choose_toolchain
    [[ -e $kernel_folder/Module.symvers ]] || fail "$kernel_folder is no built kernel or headers"
    up_to_date || build
    echo "build-module: $out/ovk_bw.ko" >&2
}

main "$@"
