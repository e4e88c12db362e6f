"""The exception the library's failures arrive as."""

from typing import NamedTuple, Optional


class Location(NamedTuple):
    """Where in the library a failure was raised: the repository-relative
    source file, the fully qualified C++ function and the line number."""

    file: str
    function: str
    line: int


class Error(ValueError):
    """A failure the library reports (a precondition of a call not met, or
    input the computation cannot use). ``str(error)`` is the library's exact
    message; ``error.location`` says where it was raised, or is None for
    input that vorn.regionprops refuses before the library sees it."""

    def __init__(self, message: str, location: Optional[Location]) -> None:
        super().__init__(message)
        self.location = location
