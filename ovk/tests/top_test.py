#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""top_test.py OVK: `ovk top` on a terminal, what is to be seen there and what is left behind."""
import fcntl, json, os, pathlib, pty, select, signal, struct, subprocess, sys, tempfile, termios, time
import pyte

ovk = sys.argv[1]
patience_s = 120  # for what can't fail to come
figures = {"MB/s": "bus_mbps", "EFF%": "efficiency_percent", "UR%": "ultra_percent", "PUR%": "preultra_percent"}
port_figures = {"PORT": "port", "READ": "read_mbps", "WRITE": "write_mbps", "MAX": "max_period_ns"}


def report(source, *words):
    return json.loads(subprocess.check_output([ovk, "-s", source, "report", *words, "--format", "json"]))


def shown(figure):
    return "-" if figure is None else str(figure)


class watched_top:
    """Runs in a pseudo terminal of its own, which pyte draws, in a folder of its own."""

    def __init__(self, source, kind, columns, rows):
        self.folder = tempfile.TemporaryDirectory()
        self.master, self.slave = pty.openpty()
        self.before = termios.tcgetattr(self.slave)
        self.screen = pyte.Screen(columns, rows)
        self.stream = pyte.ByteStream(self.screen)
        self.resize(columns, rows)
        self.process = subprocess.Popen(
            [ovk, "-s", source, "top", "--every", "1h"], cwd=self.folder.name, start_new_session=True,
            stdin=self.slave, stdout=self.slave, stderr=self.slave,
            env={"TERM": kind, "LC_ALL": "C.UTF-8", "PATH": "/usr/bin",
                 "ASAN_OPTIONS": "handle_segv=0:handle_abort=0"},
            preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))

    def resize(self, columns, rows):
        self.screen.resize(rows, columns)
        fcntl.ioctl(self.slave, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))

    def text(self):
        return "\n" + "\n".join(line.rstrip() for line in self.screen.display)

    def read_more(self, seconds):
        ready = select.select([self.master], [], [], seconds)[0]
        if ready:
            self.stream.feed(os.read(self.master, 65536))
        return ready

    def wait_until(self, check):
        """A screen may come in parts: what is not as expected now may be so with the next bytes."""
        end = time.monotonic() + patience_s
        while True:
            try:
                return check()
            except (AssertionError, LookupError):
                if time.monotonic() > end or not self.read_more(patience_s):
                    raise

    def wait_for(self, text):
        def is_there():
            assert text in self.text(), f"no {text!r}:{self.text()}"
        self.wait_until(is_there)

    def press(self, keys):
        os.write(self.master, keys.encode())

    def rows(self, first_title):
        """The table below its titles, by title; the words of a line are its figures."""
        lines = [line.split() for line in self.text().replace("vs BASE", "BASE").splitlines()]
        start = next((i for i, line in enumerate(lines) if line[:1] == [first_title]), len(lines) - 1)
        return [dict(zip([title for title in lines[start] if title != "ns"], line))
                for line in lines[start + 1:] if line]

    def end(self, number=None):
        """How it ended; the terminal is as before."""
        if number is None:
            self.press("q")
        else:
            self.process.send_signal(number)
        status = self.process.wait(patience_s)
        while self.read_more(0):
            pass
        assert termios.tcgetattr(self.slave) == self.before, status
        assert not self.screen.cursor.hidden and 1049 << 5 not in self.screen.mode, status
        os.close(self.master)
        os.close(self.slave)
        return status


def expect_modules(top, expected):
    """One and the same sweep: all that there is room for, and at least the sum."""
    by_name = {each["name"]: each for each in expected["modules"]} | {"SUM": expected["sum"]}
    rows = [row for row in top.rows("MODULE") if row["MODULE"] in by_name]
    usage = expected["usage"]
    assert rows and rows[-1]["MODULE"] == "SUM" and len(rows) >= min(5, len(by_name)), top.text()
    for row in rows:
        module = by_name[row["MODULE"]]
        for title in figures.keys() & row.keys():
            assert row[title] == shown(module[figures[title]]), (row, module)
    assert top.text().startswith("\n" + expected["status"] + "  [OK]"), top.text()
    for text in (f"usage {usage['percent']} %", f"slack {usage['slack_percent']} %",
                 f"sweep {(expected['end_ns'] - expected['start_ns']) // 1000000} ms"):
        assert text in top.text(), text


def test_figures_at_all_sizes_and_terminals(recording):
    for kind, columns, rows in (("xterm-256color", 100, 30), ("vt100", 80, 24), ("of-no-known-kind", 80, 24),
                                ("xterm", 60, 15), ("xterm", 40, 10), ("vt100", 40, 10)):
        top = watched_top(recording, kind, columns, rows)
        expected = report(recording, "total")
        top.wait_until(lambda: expect_modules(top, expected))
        cells = [cell for line in top.screen.buffer.values() for cell in line.values()]
        plain = not kind.startswith("xterm")
        assert plain == all(cell.fg == "default" and cell.data.isascii() for cell in cells), kind
        assert top.end() == 0


def test_ports_of_a_module():
    larbs = report("sim:zt430", "larb", "--module", "VDEC")["larbs"]
    expected = [{"LARB": larb["larb"]} | port for larb in larbs for port in larb["ports"]]

    def expect_ports():
        rows = top.rows("LARB")
        assert expected and len(rows) > len(expected), rows  # the hints are below
        for row, port in zip(rows, expected):
            assert row["LARB"] == str(port["LARB"]), row
            assert all(row[title] == shown(port[name]) for title, name in port_figures.items()), (row, port)

    top = watched_top("sim:zt430", "vt100", 80, 24)
    top.wait_for("[OK]")
    top.press("jj\r")
    top.wait_for("\nVDEC: data ")
    top.wait_until(expect_ports)
    top.press("\r")
    top.wait_for("\nSUM ")
    assert top.end() == 0


def test_follows_its_size():
    top = watched_top("sim:zt440,overload", "xterm", 80, 24)
    top.wait_for("vs BASE")
    top.resize(40, 10)
    top.wait_for("\nMODULE       MB/s CHANGE EFF% 0-20 %\n")
    top.resize(60, 15)
    top.wait_for("vs BASE")
    assert top.end() == 0


def test_whatever_ends_it():
    kept = {signal.SIGINT, signal.SIGTERM, signal.SIGHUP}
    for number in kept | {signal.SIGSEGV, signal.SIGABRT, signal.SIGQUIT, signal.SIGUSR1}:
        top = watched_top("sim:zt430", "xterm", 60, 15)
        top.wait_for("\nSUM ")
        assert termios.tcgetattr(top.slave) != top.before
        assert top.end(number) == (130 if number in kept else -number), number


def test_a_crash_leaves_a_whole_recording():
    """Its last write puts the module back that was selected."""
    top = watched_top("sim:zt430", "xterm", 80, 24)
    for keys, answer in (("", "[OK]"), ("r", "recording to ovk-top-"), ("m", "mark 1, also in the recording"),
                         ("\r", "\nCPU: has no larbs")):
        top.press(keys)
        top.wait_for(answer)
    assert top.end(signal.SIGSEGV) == -signal.SIGSEGV
    (file,) = pathlib.Path(top.folder.name).glob("*.jsonl")
    operations = [json.loads(line) for line in file.read_text().splitlines()[1:]]
    assert [each["written"] for each in operations if each["op"] == "mark"] == ["mark 1"]
    moved = [each["written"] for each in operations if each["op"] == "write" and each["attribute"] == "bw_larb"]
    assert moved[0] == "0" and moved[-1] == "9", moved


with tempfile.TemporaryDirectory() as work:
    subprocess.run([ovk, "-s", "sim:zt430,overload", "record", "-o", f"{work}/r", "--count", "1"], check=True)
    test_figures_at_all_sizes_and_terminals(f"file:{work}/r")
test_ports_of_a_module()
test_follows_its_size()
test_whatever_ends_it()
test_a_crash_leaves_a_whole_recording()
