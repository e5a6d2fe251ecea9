# SPDX-License-Identifier: Apache-2.0
"""Objects for with statements."""

from __future__ import annotations

import abc
from types import TracebackType
from typing import Optional, Type, TypeVar

_Self = TypeVar("_Self", bound="Scoped")


class Scoped(abc.ABC):
    """Is closed at the end of a with statement, whatever ends it."""

    @abc.abstractmethod
    def close(self) -> None:
        """Ends it. Again: does nothing."""

    def __enter__(self: _Self) -> _Self:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        value: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self._leave(kind is None)

    def _leave(self, is_clean: bool) -> None:
        """The statement has ended, and without an exception if `is_clean`."""
        self.close()
