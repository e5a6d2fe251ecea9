# SPDX-License-Identifier: Apache-2.0
"""Numbers and words in commands, options and checks."""

from __future__ import annotations

import math
import operator
from decimal import Decimal
from typing import SupportsFloat, SupportsIndex, Union


def number(value: Union[SupportsIndex, SupportsFloat]) -> str:
    """All digits of a number and no exponent, which servers and checks do not read."""
    if isinstance(value, SupportsIndex):
        return str(operator.index(value))
    exact = float(value)
    if not math.isfinite(exact):
        raise ValueError(f"a number is needed, not {exact}")
    text = format(Decimal(repr(exact)), "f")
    return text.rstrip("0").rstrip(".") if "." in text else text


def quoted(word: str) -> str:
    """A name or a file name as one word of a check."""
    if word and not word.startswith("[") and not set(word) & set(" \t'\""):
        return word
    return "'" + word.replace("'", "'\"'\"'") + "'"
