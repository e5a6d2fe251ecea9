#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""How long tests of ten seconds of prompts take, with a private server each.

usage: prompts.py BUILD-DIRECTORY [TESTS [PROCESSES]]

Runs that many copies (200) of a test in which a prompt ducks music, with pytest in so many processes
(2), and prints the wall time of all, of one, and of the parts of one.
"""

import os
import re
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

TEST = """
import cabinaudio
import pytest
from cabinaudio.testing import assert_heard, tone

MUSIC = tone(440, 10)
PROMPT = tone(1000, 2)


@pytest.mark.parametrize("number", range({tests}))
@pytest.mark.cabin(hold=2, await_={{"prompt": 5000}})
def test_prompt(cabin, number):
    cabin.settings["ducking.mode"] = 1
    with cabinaudio.Sink("music") as music, cabinaudio.Track("prompt", type=2) as prompt:
        cabinaudio.play_together((music, MUSIC), (prompt, PROMPT))
    assert_heard("ducked music by -20dB during prompt", "starts prompt@5000", "lasts music 10")
"""


def main():
    build = Path(sys.argv[1]).resolve()
    tests = int(sys.argv[2]) if len(sys.argv) > 2 else 200
    processes = sys.argv[3] if len(sys.argv) > 3 else "2"
    environment = {
        **os.environ,
        "PYTHONPATH": str(build / "python" / "package"),
        "CABINAUDIO_SERVER": str(build / "devkit" / "server" / "cabinaudio-server"),
    }
    with tempfile.TemporaryDirectory() as work:
        Path(work, "test_prompts.py").write_text(TEST.format(tests=tests))
        begin = time.monotonic()
        ran = subprocess.run(
            ["/usr/bin/python3", "-m", "pytest", "-q", "-p", "no:cacheprovider", "-n", processes,
             "--durations=0", "--durations-min=0", "-vv", f"--basetemp={work}/tests",
             "test_prompts.py"],
            cwd=work, env=environment, stdout=subprocess.PIPE, text=True, check=False)
        whole = time.monotonic() - begin
    if ran.returncode != 0:
        sys.exit(ran.stdout[-2000:])
    print(f"{tests} tests in {processes} processes: {whole:.1f} s")
    for part in ("setup", "call", "teardown"):
        times = [float(s) for s in re.findall(rf"([\d.]+)s {part} ", ran.stdout)]
        median = 1000 * statistics.median(times)
        print(f"{part:8} median {median:.0f} ms, longest {1000 * max(times):.0f} ms")


if __name__ == "__main__":
    main()
