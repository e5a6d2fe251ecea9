# SPDX-License-Identifier: Apache-2.0
"""The programs that tests run: server, launcher and command-line tool."""

from __future__ import annotations

import os
import shutil
from pathlib import Path
from typing import Optional

#: A wheel has the programs in the package.
_OWN = Path(__file__).resolve().parent.parent / "bin"


def find(name: str, variable: str) -> Optional[str]:
    """Path of a program: that of the environment variable, else of the wheel, else in PATH."""
    given = os.environ.get(variable)
    own = _OWN / name
    return given or (str(own) if own.exists() else shutil.which(name))
