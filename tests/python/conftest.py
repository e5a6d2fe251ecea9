# SPDX-License-Identifier: Apache-2.0
"""What the tests of the Python package share."""

import contextlib
import os
import signal
import subprocess
import sys
import threading

import pytest

pytest_plugins = ["pytester"]

#: Of this process only: the server and the launcher are not to be preloaded with a sanitizer.
PRELOADED = os.environ.pop("LD_PRELOAD", "")
IS_SANITIZED = bool(os.environ.get("CABINAUDIO_TEST_SANITIZED"))
IS_EMULATED = bool(os.environ.get("CABINAUDIO_TEST_EMULATED"))


@pytest.fixture
def run_script(tmp_path):
    """Runs Python code in a process of its own, as a client of the present server."""

    def run(code, timeout=120):
        path = tmp_path / "script.py"
        path.write_text("import os; os.environ.pop('LD_PRELOAD', None)\n" + code)
        emulator = ["qemu-arm", "-L", "/"] if IS_EMULATED else []
        environment = {**os.environ, **({"LD_PRELOAD": PRELOADED} if PRELOADED else {})}
        return subprocess.run(
            [*emulator, sys.executable, str(path)],
            env=environment,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            timeout=timeout,
        )

    return run


@pytest.fixture
def ctrl_c():
    """A context in which the interrupt key ends what runs, a moment after it has begun."""

    @contextlib.contextmanager
    def interrupted():
        timer = threading.Timer(0.1, os.kill, (os.getpid(), signal.SIGINT))
        timer.start()
        with pytest.raises(KeyboardInterrupt):
            yield
        timer.join()

    return interrupted
