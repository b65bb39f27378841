#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-only
"""page_test.py OVK: the page that `ovk plot` writes, in a browser that has no network: no error, the
figures of the reports, and names that stay text. Also lets promtool look at the metrics."""
import atexit, html.parser, json, pathlib, shutil, subprocess, sys, tempfile

ovk = sys.argv[1]
work = pathlib.Path(tempfile.mkdtemp())
atexit.register(shutil.rmtree, work, ignore_errors=True)
sweeps = 7
hostile = "</script><img src=x onerror=alert(1)>"


def run(*words, **more):
    return subprocess.run([str(word) for word in words], check=True, text=True, capture_output=True, **more).stdout


class page_reader(html.parser.HTMLParser):
    def __init__(self):
        super().__init__()
        self.ready, self.images, self.errors, self.rows = False, 0, "", []
        self.inside, self.text = [], ""

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        self.ready |= attributes.get("data-ready") == "yes"
        self.images += tag == "img"
        self.inside.append(attributes.get("id") or tag)
        if tag == "tr":
            self.rows.append([])

    def handle_endtag(self, tag):
        if self.inside:
            self.inside.pop()

    def handle_data(self, data):
        if self.inside and self.inside[-1] == "errors":
            self.errors += data
        if self.inside and self.inside[-1] == "td":
            self.rows[-1].append(data)
        if self.inside and self.inside[-1] not in ("script", "style", "recordings"):
            self.text += data


def open_in_browser(page):
    words = ["chromium", "--headless=new", "--no-sandbox", "--disable-gpu", f"--user-data-dir={work}/profile",
             "--host-resolver-rules=MAP * ~NOTFOUND", "--enable-logging=stderr", "--virtual-time-budget=10000",
             "--dump-dom", f"file://{page}"]
    came = subprocess.run(words, check=True, text=True, capture_output=True, timeout=120)
    console = [line for line in came.stderr.splitlines() if "CONSOLE" in line]
    assert not console, console
    reader = page_reader()
    reader.feed(came.stdout)
    assert reader.ready and not reader.errors, reader.errors
    return reader


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
rows = {row[1]: row for row in seen.rows if len(row) > 2}
report = json.loads(run(ovk, "-s", source, "report", "total", "--format", "json"))
compared = 0
for name, value in figures(report):
    row = rows[name]
    known = [] if value is None else [str(value), str(value), str(value), str(value), str(sweeps * value), str(sweeps), "0"]
    assert value is None or row[2:] == known, (name, value, row)
    assert value is not None or row[-2:] == ["0", str(sweeps)], row
    compared += 1
assert compared > 60, compared
assert hostile in seen.text and seen.images == 0

# The same name for a module, as far as the page's script goes.
page = (work / "page.html").read_text()
escaped = json.dumps(hostile).strip('"').replace("<", "\\u003c")
(work / "hostile.html").write_text(page.replace('"modules.VDEC.', f'"modules.{escaped}.'))
seen = open_in_browser(work / "hostile.html")
assert f"total.modules.{hostile}.bus_mbps" in [row[1] for row in seen.rows if len(row) > 2]
assert seen.images == 0

for name in ("total", "larb", "scomm", "emi", "bus", "fifo"):
    metrics = run(ovk, "-s", source, "report", name, "--format", "openmetrics")
    assert run("promtool", "check", "metrics", input=metrics) == "", name
