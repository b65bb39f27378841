#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-only
"""page_test.py OVK: the page that `ovk plot` writes, in a browser that has no network: no error, the
figures of the reports, and names that stay text. Also lets promtool look at the metrics."""
import atexit, html, json, pathlib, re, shutil, subprocess, sys, tempfile

ovk = sys.argv[1]
work = pathlib.Path(tempfile.mkdtemp())
atexit.register(shutil.rmtree, work, ignore_errors=True)
sweeps = 7
hostile = "</script><img src=x onerror=alert(1)>"


def run(*words, **more):
    return subprocess.run([str(word) for word in words], check=True, text=True, capture_output=True, **more).stdout


def open_in_browser(page):
    words = ["chromium", "--headless=new", "--no-sandbox", "--disable-gpu", f"--user-data-dir={work}/profile",
             "--host-resolver-rules=MAP * ~NOTFOUND", "--enable-logging=stderr", "--virtual-time-budget=10000",
             "--dump-dom", f"file://{page}"]
    came = subprocess.run(words, check=True, text=True, capture_output=True, timeout=120)
    console = [line for line in came.stderr.splitlines() if "CONSOLE" in line]
    assert not console, console
    seen = re.sub(r"<(script|style)\b.*?</\1>", "", came.stdout, flags=re.DOTALL)
    assert 'data-ready="yes"' in seen and '<img' not in seen
    assert re.search(r'id="errors"[^>]*></', seen), seen
    return seen


def rows_of(seen):
    cells = ([html.unescape(cell) for cell in re.findall(r"<td[^>]*>(.*?)</td>", row, re.DOTALL)]
             for row in re.findall(r"<tr.*?</tr>", seen, re.DOTALL))
    return {row[1]: row for row in cells if len(row) > 2}


def figures(report):
    for module in report["modules"]:
        for member, value in module.items():
            if member not in ("id", "name", "domain"):
                yield f"total.modules.{module['name']}.{member}", value
    for group in ("dram", "usage"):
        for member, value in report[group].items():
            yield f"total.{group}.{member}", value


source = "sim:zt430"
run(ovk, "-s", source, "record", "-o", work / "r.jsonl", "--count", sweeps)
mark = {"op": "mark", "attribute": "", "written": hostile, "start_ns": 1500000000, "end_ns": 1500000000,
        "error": 0, "text": "", "log": []}
with open(work / "r.jsonl", "a") as file:
    file.write(json.dumps(mark) + "\n")
run(ovk, "plot", work / "r.jsonl", "-o", work / "page.html")

seen = open_in_browser(work / "page.html")
rows = rows_of(seen)
report = json.loads(run(ovk, "-s", source, "report", "total", "--format", "json"))
compared = 0
for name, value in figures(report):
    row = rows[name]
    if value is None:
        assert row[-2:] == ["0", str(sweeps)], row
    else:
        assert row[2:] == [str(each) for each in [value] * 4 + [sweeps * value, sweeps, 0]], (name, value, row)
    compared += 1
assert compared > 60, compared
assert html.escape(hostile, quote=False) in seen

# The same name for a module, as far as the page's script goes.
page = (work / "page.html").read_text()
escaped = json.dumps(hostile).strip('"').replace("<", "\\u003c")
(work / "hostile.html").write_text(page.replace('"modules.VDEC.', f'"modules.{escaped}.'))
seen = open_in_browser(work / "hostile.html")
assert f"total.modules.{hostile}.bus_mbps" in rows_of(seen)

for name in ("total", "larb", "scomm", "emi", "bus", "fifo"):
    metrics = run(ovk, "-s", source, "report", name, "--format", "openmetrics")
    assert run("promtool", "check", "metrics", input=metrics) == "", name
