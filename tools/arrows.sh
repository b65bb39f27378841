#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# arrows.sh: fails when a room of the module, or of ovk, includes one that stands above it, or beside
# it.
set -euo pipefail
cd "$(dirname "$0")/../module"

# The floors, from the ground up. The roof knows all rooms, and none knows the roof.
floor_of() { # FILE
    case $1 in
        base/*) echo 0 ;;
        registers/*) echo 1 ;;
        core/main.* | core/attributes.*) echo 6 ;;
        core/*) echo 2 ;;
        effi/*) echo 3 ;;
        measure/*) echo 4 ;;
        report/* | control/* | debug/*) echo 5 ;;
        *) echo "arrows.sh: no floor for module/$1" >&2 && exit 1 ;;
    esac
}

status=0
lines=0
while IFS=: read -r file included; do
    from=$(floor_of "$file")
    to=$(floor_of "$included")
    lines=$((lines + 1))
    if ((to > from)) || { ((to == from)) && [ "${file%%/*}" != "${included%%/*}" ]; }; then
        echo "module/$file includes $included, which does not stand below it"
        status=1
    fi
done < <(grep -rHoE '^[[:space:]]*#[[:space:]]*include[[:space:]]*["<][^">]*' --include='*.h' \
    --include='*.cpp' . | sed -e 's#^\./##' -e 's#:.*["<]#:#' | grep -vxE '[^:]*:(platform/kernel.h|new)')
((lines > 0)) || status=1

# ovk stands on its own: beside its rooms it may have the version, and the simulator as a source.
room_of() { # FILE
    case $1 in
        ovk/base/*) echo 0 ;;
        ovk/source/*) echo 1 ;;
        ovk/report/*) echo 2 ;;
        ovk/command/*) echo 4 ;;
        ovk/main.cpp) echo 5 ;;
        ovk/*/*) echo 3 ;;
        platform/version.h) echo 0 ;;
        sim/simulator.h) echo 1 ;;
        *) echo 9 ;;
    esac
}
cd ..
while IFS=: read -r file included; do
    from=$(room_of "$file")
    to=$(room_of "$included")
    if ((to > from)) || { ((to == 3 && from == 3)) && [ "${file%/*}" != "${included%/*}" ]; }; then
        echo "$file includes $included, which does not stand below it"
        status=1
    fi
done < <(grep -rHoE '^#include "[^"]*' --include='*.h' --include='*.cpp' --exclude-dir=tests ovk |
    sed -e 's#:.*"#:#')
exit "$status"
