#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# Boots an arm64 kernel in an emulator with the chip attached, loads the module and runs commands or
# a shell in the folder of its attributes.
set -euo pipefail
shopt -s inherit_errexit
# shellcheck source=tools/setup.sh
. "$(dirname "$(realpath "$0")")/../tools/setup.sh"

chip_names() {
    find "$top/soc/chips" -name '*.dts' -printf '%f\n' | sed 's/\.dts$//' | LC_ALL=C sort | paste -sd, |
        sed -e 's/,/, /g' -e 's/\(.*\), /\1 or /'
}

usage() {
    cat <<END
usage: ./run kernel [OPTIONS] [-c 'COMMANDS' | --script FILE]
  -c COMMANDS        run these in the guest, in the folder of the attributes, instead of a shell
  --script FILE      the same, from a file
  --soc NAME         chip: $(chip_names) (default zt430)
  --dtb FILE         device tree of another chip, .dts or .dtb
  --scenario NAME    traffic: idle, playback, graphics, overload, or a file (default: playback,
                     with --dtb none)
  --dram-freq F,F    DRAM channel frequencies in MT/s (default: the tree's)
  --release VERSION  Debian's kernel of that version: 6.1 (default) or 6.12
  --build NAME       a kernel of the lab's own, built once: strict (gcc, memory and lock checks,
                     failing allocations) or clang (LLVM, control-flow integrity, tracer)
  --kdir DIR         build folder or headers of another kernel; wants --image
  --image FILE       the kernel to boot
  --unloaded         do not load the modules; start in /
  --timeout SECONDS  for COMMANDS, boot included (default 120)
  --log FILE         the kernel's console (default build/kernel-console.log)
  --program FILE     puts a static arm64 program into the guest's /bin
  --registers FILE   the chip's registers, 64 MiB from 0x1c000000, to look at or to disturb
  --runs FILE        a line for every run of a bandwidth monitor, with start and end
The shell's emulator ends with Ctrl-A X, if the guest does not end by itself.
Exit status: that of the commands; 1 the module can't be loaded or unloaded, 2 wrong usage, 3 the
kernel or the chip objected to something, 124 no end within the time, 125 no end at all.
END
}

refuse() {
    usage >&2
    exit 2
}

fail() { # STATUS MESSAGE...
    local status=$1
    shift
    say "kernel: $*"
    exit "$status"
}

exit_unusable=2
exit_objection=3
exit_late=124
exit_no_end=125

soc=zt430
tree=
scenario=
dram_freq=tree
release=6.1
own_kernel=
kernel_folder=
image=
commands=
unloaded=false
time_limit=120
log=$build/kernel-console.log
program=
registers=
runs=

parse_arguments() {
    while (($# > 0)); do
        case $1 in
        --unloaded) unloaded=true && shift && continue ;;
        -h | --help) usage && exit ;;
        *) (($# > 1)) || refuse ;;&
        -c) commands=$2 && shift ;;
        --script) commands=$(<"$2") && shift ;;
        --soc) soc=$2 && shift ;;
        --dtb) tree=$(realpath "$2") && soc= && shift ;;
        --scenario) scenario=$2 && shift ;;
        --dram-freq) dram_freq=$2 && shift ;;
        --release) release=$2 && shift ;;
        --build) own_kernel=$2 && shift ;;
        --kdir) kernel_folder=$(realpath "$2") && shift ;;
        --image) image=$(realpath "$2") && shift ;;
        --timeout) time_limit=$2 && shift ;;
        --log) log=$(realpath -m "$2") && shift ;;
        --program) program=$(realpath "$2") && shift ;;
        --registers) registers=$(realpath -m "$2") && shift ;;
        --runs) runs=$(realpath -m "$2") && shift ;;
        *) refuse ;;
        esac
        shift
    done
    [[ -z $kernel_folder && -z $image || -n $kernel_folder && -n $image ]] || refuse
}

# Absolute names of the device tree and of the scenario; the latter may be empty.
find_inputs() {
    if [[ -z $tree ]]; then
        tree=$top/soc/chips/$soc.dts
        [[ -e $tree ]] ||
            fail $exit_unusable "$(chip_names) expected, not '$soc'"
        : "${scenario:=playback}"
    fi
    case $scenario in
    '') ;;
    */* | *.toml) scenario=$(realpath "$scenario") ;;
    *) scenario=$top/soc/scenarios/$soc/$scenario.toml ;;
    esac
    [[ -z $scenario || -e $scenario ]] ||
        fail $exit_unusable "there is no scenario $scenario"
}

fetch() { # PART
    "$top/platform/linux/debian-kernel.sh" --release "$release" --out "$modules/kernel" "$1"
}

# The module with its siblings, the kernel, the guest's programs and the emulator's parts.
make_ingredients() {
    local compiler=()
    if [[ -n $own_kernel ]]; then
        kernel_folder=$("$top/lab/build-kernel.sh" "$own_kernel")
        image=$kernel_folder/arch/arm64/boot/Image
        [[ $own_kernel != clang ]] || compiler=(--llvm -16)
    fi
    if [[ -n $kernel_folder ]]; then
        modules=$build/linux${own_kernel:+-$own_kernel}
        "$top/platform/linux/build-module.sh" "${compiler[@]}" --kdir "$kernel_folder" \
            --out "$modules"
    else
        modules=$build/linux-$release
        "$top/platform/linux/build-module.sh" --release "$release" --out "$modules"
        kernel_folder=$(fetch headers)
        image=$(fetch image)
    fi
    busybox=$(fetch busybox)
    kernel_release=$(sed -nE 's/.*UTS_RELEASE "(.*)"/\1/p' \
        "$kernel_folder/include/generated/utsrelease.h")
    build_host host -DOVK_TESTS=OFF -- ovk-merge-tree ovk_chip_plugin
    tools=$build/host/lab
    build_guest_program
}

build_guest_program() {
    local source=$top/lab/guest/session.cpp
    session=$build/lab/ovk-session
    [[ $session -nt $source ]] && return
    mkdir -p "$build/lab"
    aarch64-linux-gnu-g++-12 -std=c++20 -O2 -Wall -Wextra -Werror -static -s \
        -o "$session.new" "$source"
    mv "$session.new" "$session"
}

# What ovk-dramc is loaded with: F,F,... or nothing.
channel_frequencies() {
    if [[ $dram_freq == tree ]]; then
        fdtget -t u "$work/chip.dtb" /dramc channel-freq 2>/dev/null | tr ' ' , || true
    else
        echo "$dram_freq"
    fi
}

make_root() {
    local root=$work/root frequencies
    local folder=$root/lib/modules/$kernel_release
    mkdir -p "$root/bin" "$root/etc" "$folder"
    cp "$busybox" "$root/bin/busybox"
    cp "$session" "$root/bin/ovk-session"
    [[ -z $program ]] || cp "$program" "$root/bin/"
    cp "$modules"/*.ko "$folder/"
    : | tee "$folder/modules.order" "$folder/modules.builtin" >"$folder/modules.builtin.modinfo"
    /sbin/depmod -b "$root" "$kernel_release"
    frequencies=$(channel_frequencies)
    [[ -z $frequencies ]] || echo "options ovk_dramc freq=$frequencies" >"$root/etc/modprobe.conf"
    install -m 755 "$top/lab/guest/init" "$root/init"
    if $unloaded; then
        touch "$root/etc/leave-unloaded"
    fi
    if [[ -n $commands ]]; then
        printf '%s\n' "$commands" >"$root/commands"
    else
        stty size 2>/dev/null | { read -r rows columns && echo "rows $rows cols $columns"; } \
            >"$root/etc/terminal-size" || true
    fi
    (cd "$root" && find . | cpio --quiet -o -H newc -R 0:0) >"$work/root.cpio"
}

# shellcheck disable=SC2054 # QEMU's own commas
emulator=(qemu-system-aarch64 -M virt,gic-version=3 -cpu cortex-a72 -smp 2 -m 512 -nic none
    -display none -monitor none -no-reboot)

make_tree() {
    dtc -q -I dts -O dtb -o "$work/chip.dtb" "$tree" 2>/dev/null || cp "$tree" "$work/chip.dtb"
    quietly "$work/machine.log" "${emulator[@]}" -machine dumpdtb="$work/machine.dtb"
    "$tools/ovk-merge-tree" "$work/machine.dtb" "$work/chip.dtb" "$work/merged.dtb"
}

# Address randomisation would hide where the modules are; strict device memory would hide the
# registers of bound devices from the guest's user; marks in the kernel log would be rationed.
kernel_command_line='console=ttyAMA0 nokaslr iomem=relaxed printk.devkmsg=on panic=-1'
kernel_command_line+=' no_console_suspend'

# Sets `machine`, the emulator with everything but the commands' terminal.
describe_machine() {
    local plugin=$tools/ovk_chip_plugin.so,tree=$work/chip.dtb,registers=$registers
    plugin+=,complaints=$work/complaints
    [[ -z $scenario ]] || plugin+=,scenario=$scenario
    [[ -z $runs ]] || plugin+=,runs=$runs
    # shellcheck disable=SC2054
    machine=("${emulator[@]}"
        -kernel "$image" -initrd "$work/root.cpio" -dtb "$work/merged.dtb"
        -append "$kernel_command_line" -plugin "$plugin"
        -object "memory-backend-file,id=registers,share=on,size=64M,mem-path=$registers"
        -device ivshmem-plain,memdev=registers
        -device pci-serial-4x,chardev1=terminal,chardev2=errors,chardev3=ending,chardev4=unused
        -serial "file:$log" -chardev "file,id=errors,path=$work/errors"
        -chardev "file,id=ending,path=$work/ending" -chardev null,id=unused)
}

run_shell() {
    : >"$work/errors"
    "${machine[@]}" -chardev stdio,id=terminal,mux=on,signal=off
}

# What the guest writes appears at once. The emulator is a child that a signal can end.
run_commands() {
    local status=0
    mkfifo "$work/output" "$work/errors"
    cat "$work/output" &
    cat "$work/errors" >&2 &
    timeout --kill-after=5 "$time_limit" \
        "${machine[@]}" -chardev "file,id=terminal,path=$work/output" &
    child=$!
    wait "$child" || status=$?
    child=
    wait
    return "$status"
}

# What a kernel says when something went wrong, survived or not.
objections='WARNING:|BUG:|Oops|Unable to handle kernel|Internal error:|Call trace:|Kernel panic'
objections+='|blocked for more than|refcount_t:|list_(add|del) corruption'

# That it has no memory for a module is no objection: tests let allocations fail.
objected() { # GREP-OPTIONS
    grep -E "$@" "$objections" <(sed '/vmalloc error:/,/Call trace:/d' "$log")
}

judge() { # EMULATOR'S-STATUS
    local ending=
    [[ ! -e $work/ending ]] || ending=$(<"$work/ending")
    if objected -q; then
        objected -A 12 | head -60 >&2
        fail $exit_objection "the kernel objected; its whole log is $log"
    fi
    if [[ -s $work/complaints ]]; then
        cat "$work/complaints" >&2
        fail $exit_objection "the module made accesses that the chip does not have"
    fi
    if [[ $ending =~ ^ended\ ([0-9]+) ]]; then
        exit "${BASH_REMATCH[1]}"
    fi
    (($1 != exit_late)) || fail $exit_late "no end within $time_limit seconds"
    fail $exit_no_end "the guest ended before its time; its log is $log"
}

child=
# shellcheck disable=SC2317 # called by a trap
stop() { # STATUS
    [[ -z $child ]] || kill "$child" 2>/dev/null || true
    wait
    exit "$1"
}

main() {
    local status=0
    parse_arguments "$@"
    find_inputs
    make_ingredients
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    trap 'stop 130' INT
    trap 'stop 143' TERM
    : "${registers:=$work/registers}"
    make_tree
    make_root
    describe_machine
    mkdir -p "$(dirname "$log")"
    say "kernel: $kernel_release, console in ${log#"$PWD"/}"
    if [[ -n $commands ]]; then
        run_commands || status=$?
    else
        run_shell || status=$?
    fi
    judge "$status"
}

main "$@"
