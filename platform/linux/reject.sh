#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# Refuses C++ objects, and a module made of them, that a kernel would load but could not run: no
# kernel calls static constructors, unwinds exceptions, sets up thread-local storage or saves the
# floating-point registers. Prints one line per finding and exits 1 if there is any.
set -euo pipefail
shopt -s inherit_errexit # a tool that fails inside $(...) is no clean result

usage() {
    cat >&2 <<'END'
usage: reject.sh [--cross PREFIX] --objects DIR [--module KO --symvers FILE...]
  --cross PREFIX   of the binutils (default aarch64-linux-gnu-)
  --objects DIR    every .o below it was C++ and is examined
  --module KO      whose undefined symbols one of the --symvers FILEs must export
END
    exit 2
}

cross=aarch64-linux-gnu-
objects_folder=
module=
symvers=()

parse_arguments() {
    while (($# > 0)); do
        (($# > 1)) || usage
        case $1 in
        --cross) cross=$2 ;;
        --objects) objects_folder=$2 ;;
        --module) module=$2 ;;
        --symvers) symvers+=("$2") ;;
        *) usage ;;
        esac
        shift 2
    done
    [[ -d $objects_folder ]] || usage
    [[ -z $module || ${#symvers[@]} -gt 0 ]] || usage
}

# grep, for which finding nothing is no failure.
matching() {
    grep -E "$@" || [[ $? == 1 ]]
}

# One finding per line read: "OBJECT: REASON: LINE".
as_findings() { # OBJECT REASON
    while IFS= read -r detail; do
        echo "$1: $2: $detail"
    done
}

section_names() { # OBJECT
    "${cross}readelf" --section-headers --wide "$1" |
        sed -nE 's/^ *\[ *[0-9]+\] ([^ ]+) .*/\1/p' | sort -u
}

find_sections() { # OBJECT
    local names
    names=$(section_names "$1")
    matching '^\.(preinit_array|init_array|ctors)' <<<"$names" | as_findings "$1" "static constructor"
    matching '^\.(fini_array|dtors)' <<<"$names" | as_findings "$1" "static destructor"
    matching '^\.(eh_frame|gcc_except_table)' <<<"$names" | as_findings "$1" "unwind table"
}

find_thread_local() { # OBJECT
    "${cross}readelf" --symbols --wide "$1" | awk '$4 == "TLS" && $8 ~ /^[A-Za-z_]/ { print $8 }' | sort -u |
        as_findings "$1" "thread-local storage"
}

# Addresses in the listing stand before a <symbol>; without them, b, h, s, d, q or v with a number
# is a register.
find_floating_point() { # OBJECT
    "${cross}objdump" --disassemble --no-show-raw-insn "$1" |
        sed -E 's/[0-9a-f]+ <[^>]*>//; s,(//|;).*,,' |
        matching $'\t.*\\b[bhsdqv]([0-9]|[12][0-9]|3[01])\\b' | awk 'NR == 1 { $1 = $1; print }' |
        as_findings "$1" "floating-point register"
}

undefined_symbols() { # FILE...
    "${cross}nm" --undefined-only --format=just-symbols --quiet "$@" | matching '^[^/]*[^:]$' | sort -u
}

# What the C++ objects may ask of the rest: the services and data of platform/kernel.h, the memory
# functions that a compiler calls by itself, and the kernel's stack guard.
allowed='^(ovk_kernel_[a-z0-9_]+|ovk_(measurement|emi)_mutex|platform_bus_type'
allowed+='|mem(cpy|move|set|cmp)|__stack_chk_fail)$'

find_undefined() { # OBJECT...
    local defined object
    defined=$("${cross}nm" --defined-only --extern-only --format=just-symbols --quiet "$@" |
        sort -u)
    for object in "$@"; do
        undefined_symbols "$object" | comm -23 - <(echo "$defined") |
            matching --invert-match "$allowed" |
            as_findings "$object" "not a service of platform/kernel.h"
    done
}

find_unexported() { # KO SYMVERS...
    local ko=$1
    shift
    undefined_symbols "$ko" | comm -23 - <(awk '{ print $2 }' "$@" | sort -u) |
        as_findings "$ko" "exported neither by the kernel nor by a sibling"
}

all_findings() {
    local objects object
    mapfile -t objects < <(find "$objects_folder" -name '*.o' | sort)
    ((${#objects[@]} > 0)) || usage
    for object in "${objects[@]}"; do
        find_sections "$object"
        find_thread_local "$object"
        find_floating_point "$object"
    done
    find_undefined "${objects[@]}"
    if [[ -n $module ]]; then
        find_unexported "$module" "${symvers[@]}"
    fi
}

main() {
    local findings
    export LC_ALL=C # sort and comm must agree
    parse_arguments "$@"
    findings=$(all_findings)
    [[ -n $findings ]] || return 0
    printf '%s\n' 'reject: a kernel cannot run this:' "$findings" >&2
    return 1
}

main "$@"
