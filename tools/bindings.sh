#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# Checks the bindings, and with them their own examples and the trees of the chips. The validators
# end with success whatever they find: what they say is what counts.
set -euo pipefail
cd "$(dirname "$0")/.."
folder=devicetree/bindings
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

blob_of() { # SOURCE
    local blob
    blob=$work/$(basename "${1%.dts}").dtb
    dtc -q -I dts -O dtb -o "$blob" "$1"
    echo "$blob"
}

validate() {
    local schema example
    dt-doc-validate -u $folder $folder/soc/quorix/*.yaml
    dt-mk-schema -j -o "$work/schema.json" $folder
    for schema in "$folder"/soc/quorix/*.yaml; do
        example=$work/$(basename "${schema%.yaml}").example.dts
        dt-extract-example "$schema" >"$example"
        dt-validate -s "$work/schema.json" "$(blob_of "$example")"
    done
    for chip in soc/chips/*.dts; do
        dt-validate -s "$work/schema.json" "$(blob_of "$chip")"
    done
}

validate >"$work/findings" 2>&1 || echo 'a validator failed' >>"$work/findings"
if [ -s "$work/findings" ]; then
    sed "s,$work/,," "$work/findings"
    exit 1
fi
