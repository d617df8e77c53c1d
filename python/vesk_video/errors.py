"""What a function raises whose result is not 0."""

from __future__ import annotations

from ._results import RESULTS


class VeskError(Exception):
    """A request that failed or was refused."""

    def __init__(self, function: str, code: int) -> None:
        super().__init__(function, code)
        self.function = function
        """The function that returned the code."""
        self.code = code
        """The result code: one of the library's, the platform's or the service's."""
        self.name, self.meaning = RESULTS.get(
            code, ("unknown result", "A code of the service's or the platform's own.")
        )

    def __str__(self) -> str:
        return f"{self.function}: {self.name} (0x{self.code:x}): {self.meaning}"
