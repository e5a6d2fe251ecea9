#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What it costs to watch 20 streams on the page of `cabinaudio view`.

    watch.py BUILD-DIRECTORY [--seconds N] [--json FILE]

Starts a server, 20 players, the tool and a headless Chromium with the page, and prints the share of
one processor that each of them needs, over the same time with the page and without it. The server
mixes the streams in both; the page costs the difference. The browser draws with the processor: no
graphics card helps it. The exit status is 1 when server, tool and page together are above the goal.
"""
import argparse
import json
import math
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import wave

STREAMS = 20
GOAL_PERCENT = 10.0
RATE = 48000
TICKS = os.sysconf("SC_CLK_TCK")
BOUND = 30.0  # seconds that a part gets to begin


def children_of(process):
    """The process and all below it."""
    found, waiting = [], [process]
    while waiting:
        one = waiting.pop()
        found.append(one)
        for task in pathlib.Path(f"/proc/{one}/task").glob("*/children"):
            try:
                waiting += [int(word) for word in task.read_text().split()]
            except OSError:
                pass
    return found


def ticks_of(process):
    """Processor time of a tree of processes, by process."""
    ticks = {}
    for one in children_of(process):
        try:
            fields = pathlib.Path(f"/proc/{one}/stat").read_text().rsplit(")", 1)[1].split()
        except OSError:
            continue
        ticks[one] = int(fields[11]) + int(fields[12])
    return ticks


def percent(processes, seconds):
    """Share of one processor for each of the named trees."""
    before = {name: ticks_of(process) for name, process in processes.items()}
    begin = time.monotonic()
    time.sleep(seconds)
    took = time.monotonic() - begin
    result = {}
    for name, process in processes.items():
        after = ticks_of(process)
        used = sum(ticks - before[name].get(one, 0) for one, ticks in after.items())
        result[name] = 100 * used / TICKS / took
    return result


def write_tone(path, hertz, seconds):
    frames = b"".join(
        int(1500 * math.sin(2 * math.pi * hertz * i / RATE)).to_bytes(2, "little", signed=True)
        for i in range(RATE))
    with wave.open(str(path), "wb") as file:
        file.setnchannels(1)
        file.setsampwidth(2)
        file.setframerate(RATE)
        for _ in range(seconds):
            file.writeframes(frames)


class Bench:
    def __init__(self, build, scratch):
        self.build, self.scratch, self.started = build, scratch, []
        self.environment = {**os.environ, "CABINAUDIO_INSTANCE": f"watch-{os.getpid()}",
                            "CABINAUDIO_LAUNCHER": str(build / "devkit/board/cabinaudio-run")}
        self.tool = str(build / "tools/cabinaudio")

    def start(self, *words, **more):
        process = subprocess.Popen(words, env=self.environment, stdin=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, **more)
        self.started.append(process)
        return process

    def serve(self):
        return self.start(self.build / "devkit/server/cabinaudio-server", "--output", "null",
                          stdout=subprocess.DEVNULL)

    def play(self, seconds):
        """All players, once all of them play."""
        sound = self.scratch / "tone.wav"
        write_tone(sound, 400, seconds)
        for number in range(STREAMS):
            self.start(self.tool, "play", "--wait", str(BOUND), "--tag", "auxiliary", "--name",
                       f"stream-{number}", sound, stdout=subprocess.DEVNULL)
        deadline = time.monotonic() + BOUND
        while time.monotonic() < deadline:
            state = subprocess.run([self.tool, "server", "state", "--json"], check=False,
                                   env=self.environment, capture_output=True, text=True)
            if state.stdout.count('"state":"active"') >= STREAMS:
                return
            time.sleep(0.2)
        sys.exit("watch: not all streams play")

    def view(self):
        view = self.start(self.tool, "view", "--json", "--no-open", stdout=subprocess.PIPE)
        return view, json.loads(view.stdout.readline())["address"]

    def browse(self, address):
        browser = self.start(
            "chromium", "--headless=new", "--no-sandbox", "--disable-gpu", "--no-first-run",
            "--disable-background-networking", "--disable-component-update", "--disable-sync",
            "--disable-extensions", f"--user-data-dir={self.scratch / 'profile'}",
            "--window-size=1280,900", address, stdout=subprocess.DEVNULL)
        time.sleep(8)  # its own start is not measured
        return browser

    def end(self):
        for process in reversed(self.started):
            process.send_signal(signal.SIGTERM)
        for process in self.started:
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()


def measure(bench, seconds):
    server = bench.serve()
    bench.play(int(2 * seconds + BOUND + 30))
    view, address = bench.view()
    alone = percent({"server": server.pid, "tool": view.pid}, seconds)
    browser = bench.browse(address)
    watched = percent({"server": server.pid, "tool": view.pid, "page": browser.pid}, seconds)
    return alone, watched


def report(alone, watched):
    shares = {"server": max(0.0, watched["server"] - alone["server"]), "tool": watched["tool"],
              "page": watched["page"]}
    print(f"{STREAMS} streams, 10 updates a second, percent of one processor")
    print(f"  server without the page  {alone['server']:6.2f}  (it mixes)")
    print(f"  tool without the page    {alone['tool']:6.2f}")
    for name, share in shares.items():
        print(f"  {name:23s}  {share:6.2f}" + ("  (more than without)" if name == "server" else ""))
    total = sum(shares.values())
    print(f"  together                 {total:6.2f}  (goal: below {GOAL_PERCENT:.0f})")
    return {"streams": STREAMS, "server_alone": alone["server"], "tool_alone": alone["tool"],
            **shares, "together": total, "goal": GOAL_PERCENT}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--seconds", type=float, default=10)
    parser.add_argument("--json", type=pathlib.Path)
    arguments = parser.parse_args()
    if shutil.which("chromium") is None:
        sys.exit("watch: chromium is not installed")
    with tempfile.TemporaryDirectory() as scratch:
        bench = Bench(arguments.build.resolve(), pathlib.Path(scratch))
        try:
            figures = report(*measure(bench, arguments.seconds))
        finally:
            bench.end()
    if arguments.json:
        arguments.json.write_text(json.dumps(figures) + "\n", encoding="utf-8")
    sys.exit(1 if figures["together"] >= GOAL_PERCENT else 0)


if __name__ == "__main__":
    main()
