#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# schema_test.sh OVK: the reports of all chips are what the schema says, and the pages tell of every
# member and every command, and the walk through tuning runs.
set -euo pipefail
shopt -s inherit_errexit
ovk=$1
top=$(realpath "$(dirname "$0")/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for chip in $(basename -s .dts "$top"/soc/chips/*.dts); do
    for report in total larb scomm emi bus fifo ports limits; do
        "$ovk" -s "sim:$chip" report "$report" --format json >"$work/$chip-$report.json"
    done
done
for command in $("$ovk" --help | sed '1,/^Subcommands:/d' | grep -o '^  [a-z]*'); do
    grep -q "^\.It Cm $command" "$top/docs/ovk.1" || { echo "docs/ovk.1 has no $command" && exit 1; }
done
# The walk through tuning, as it stands there.
sed -n '/^export OVK_SOURCE/,/^```/p' "$top/docs/tuning.md" | sed '$d' >"$work/walk.sh"
(cd "$work" && PATH=$(dirname "$ovk"):$PATH bash -e walk.sh >/dev/null 2>&1 && [[ -s both.html ]]) ||
    { echo "the commands of docs/tuning.md fail" && exit 1; }
rm "$work/before.json"
python3 - "$top" "$work" <<'END'
import json, pathlib, re, sys
import jsonschema

top, work = map(pathlib.Path, sys.argv[1:])
schema = json.loads((top / "docs/ovk.schema.json").read_text())
validator = jsonschema.Draft202012Validator(schema)
files = sorted(work.glob("*.json"))
assert len(files) >= 8 * 4, files
for file in files:
    for error in validator.iter_errors(json.loads(file.read_text())):
        sys.exit(f"{file.name}: {error.message}")

def members(node):
    if isinstance(node, dict):
        yield from node.get("properties", {})
        for each in node.values():
            yield from members(each)
    elif isinstance(node, list):
        for each in node:
            yield from members(each)

page = re.findall(r"`[^`\n]+`", (top / "docs/ovk.md").read_text().replace("```", ""))
told = {word for part in page for word in re.findall(r"\w+", part)}
missing = {name for name in members(schema)} - told - {"preultra_masked", "ultra_masked",
    "urgent_masked", "preultra_threshold", "ultra_threshold", "urgent_threshold"}
if missing:
    sys.exit(f"docs/ovk.md does not tell of {sorted(missing)}")
END
