#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# Compiles small offenders and expects reject.sh to name each; a clean object must pass.
set -euo pipefail

cross=${1-aarch64-linux-gnu-}
compiler=$(command -v "${cross}g++-12" || command -v "${cross}g++")
reject=$(dirname "$(realpath "$0")")/reject.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
options=()

kernel_flags=(-std=c++20 -O2 -ffreestanding -fno-exceptions -fno-rtti -fno-threadsafe-statics
    -fno-unwind-tables -fno-asynchronous-unwind-tables)

expect() { # NAME VERDICT [FLAG...]; reads the source
    local name=$1 verdict=$2 said
    shift 2
    mkdir "$work/$name"
    "$compiler" "${kernel_flags[@]}" "$@" -x c++ -c -o "$work/$name/object.o" -
    said=$("$reject" --cross "$cross" --objects "$work/$name" "${options[@]}" 2>&1) && said=accepted
    if [[ $said == *"$verdict"* ]]; then
        echo "ok: $name: $verdict"
    else
        printf 'FAILED: %s: %s expected\n%s\n' "$name" "$verdict" "$said"
        failures=$((failures + 1))
    fi
}

expect "a static constructor" 'static constructor: .init_array' \
    <<<'extern "C" int ovk_kernel_value(); int value = ovk_kernel_value();'
expect "a static destructor" 'static destructor: .fini_array' \
    <<<'extern "C" void ovk_kernel_wmb(); __attribute__((destructor)) void f() { ovk_kernel_wmb(); }'
expect "an unwind table" 'unwind table: .eh_frame' -fasynchronous-unwind-tables \
    <<<'int answer() { return 42; }'
expect "thread-local storage" 'thread-local storage: counter' <<<'thread_local int counter;'
expect "a thread-local of another file" 'thread-local storage: counter' \
    <<<'extern __thread int counter; int read_counter() { return counter; }'
expect "floating point" 'floating-point register: ' <<<'double half(double x) { return x / 2; }'
expect "the C library" 'platform/kernel.h: strlen' \
    <<<'extern "C" unsigned long strlen(const char *); long f(const char *t) { return strlen(t) + 1; }'
expect "the C++ runtime" 'platform/kernel.h: _ZdlPv' <<<'void drop(int *value) { delete value; }'
# Functions with the names of registers.
expect "kernel code" accepted <<'END'
extern "C" unsigned ovk_kernel_readl_relaxed(const void *);
unsigned d0(const void *base) { return ovk_kernel_readl_relaxed(base); }
unsigned loop(const void *base) { unsigned n = 0; while (d0(base) != 0xd0) n++; return n; }
END
printf '0x00000000\twmb\tvmlinux\tEXPORT_SYMBOL\t\n' >"$work/symvers"
options=(--module "$work/an unexported symbol/object.o" --symvers "$work/symvers")
expect "an unexported symbol" 'nor by a sibling: ovk_kernel_wmb' \
    <<<'extern "C" int ovk_kernel_wmb(); int caller() { return ovk_kernel_wmb(); }'

exit $((failures > 0))
