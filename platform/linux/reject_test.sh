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

kernel_flags=(-std=c++20 -O2 -ffreestanding -fno-exceptions -fno-rtti -fno-threadsafe-statics
    -fno-unwind-tables -fno-asynchronous-unwind-tables)

compile() { # FOLDER [FLAG...]; reads the source
    local folder=$1
    shift
    mkdir -p "$folder"
    "$compiler" "${kernel_flags[@]}" "$@" -x c++ -c -o "$folder/object.o" -
}

verdict() { # ACTUAL EXPECTED NAME
    if [[ $1 == *"$2"* ]]; then
        echo "ok: $3"
    else
        printf 'FAILED: %s\n%s\n' "$3" "$1"
        failures=$((failures + 1))
    fi
}

expect_refused() { # NAME REASON [FLAG...]; reads the source
    local name=$1 reason=$2 said
    shift 2
    compile "$work/$name" "$@"
    said=$("$reject" --cross "$cross" --objects "$work/$name" 2>&1) && said=accepted
    verdict "$said" "$reason" "$name is refused"
}

expect_accepted() { # NAME; reads the source
    local said
    compile "$work/$1"
    said=$("$reject" --cross "$cross" --objects "$work/$1" 2>&1) && said=accepted
    verdict "$said" accepted "$1 is accepted"
}

expect_unexported_refused() {
    local said
    compile "$work/module" <<<'extern "C" int ovk_kernel_wmb(); int caller() { return ovk_kernel_wmb(); }'
    printf '0x00000000\twmb\tvmlinux\tEXPORT_SYMBOL\t\n' >"$work/symvers"
    said=$("$reject" --cross "$cross" --objects "$work/module" --module "$work/module/object.o" \
        --symvers "$work/symvers" 2>&1) && said=accepted
    verdict "$said" 'nor by a sibling: ovk_kernel_wmb' "an unexported symbol of the module is refused"
}

expect_refused "a static constructor" 'static constructor: .init_array' <<'END'
extern "C" int ovk_kernel_value();
int value = ovk_kernel_value();
END
expect_refused "a static destructor" 'static destructor: .fini_array' <<'END'
extern "C" void ovk_kernel_wmb();
__attribute__((destructor)) static void at_exit() { ovk_kernel_wmb(); }
END
expect_refused "an unwind table" 'unwind table: .eh_frame' -fasynchronous-unwind-tables <<'END'
int answer() { return 42; }
END
expect_refused "thread-local storage" 'thread-local storage: counter' <<'END'
thread_local int counter;
END
expect_refused "a thread-local of another file" 'thread-local storage: counter' <<'END'
extern __thread int counter;
int read_counter() { return counter; }
END
expect_refused "floating point" 'floating-point register: ' <<'END'
double half(double x) { return x / 2; }
END
expect_refused "the C library" 'platform/kernel.h: strlen' <<'END'
extern "C" unsigned long strlen(const char *);
unsigned long length(const char *text) { return strlen(text) + 1; }
END
expect_refused "the C++ runtime" 'platform/kernel.h: _ZdlPv' <<'END'
void drop(int *value) { delete value; }
END
expect_accepted "kernel code" <<'END'
extern "C" unsigned ovk_kernel_readl_relaxed(const void *);
unsigned d0(const void *base) { return ovk_kernel_readl_relaxed(base); }
unsigned loop(const void *base) { unsigned n = 0; while (d0(base) != 0xd0) n++; return n; }
END
expect_unexported_refused

exit $((failures > 0))
