"""What the tests know of an installed application."""

import dataclasses
import pathlib
import re
import typing


# Times of day, and seconds since 1970.
TIMES = (r"\b\d\d:\d\d(:\d\d)?\b", r"\b1[7-9]\d{8}\b")


@dataclasses.dataclass
class Page:
    """A page and a text that is in it."""
    target: str
    text: str
    status: int = 200


@dataclasses.dataclass
class Application:
    root: pathlib.Path  # of its documents
    pages: list  # of Page, for visitors
    pages_after_login: list
    log_in: typing.Callable  # with a Browser
    secrets: dict  # texts that must not be recorded, each with what it is
    volatile: tuple = ()  # patterns of what differs between two visits of a page
    database_user: str = None  # of MariaDB
    settings: dict = dataclasses.field(default_factory=dict)  # that its secrets need

    def lasting(self, body):
        """The body without what differs between two visits."""
        for pattern in (*TIMES, *self.volatile):
            body = re.sub(pattern, "...", body)
        return body


class Unexpected(Exception):
    """An answer of an application that is not the expected one."""


def require(response, text, what, status=200):
    """Refuses an answer without the text."""
    if response.status != status or text not in response.body:
        shown = re.sub(r"<[^>]*>|\s+", " ", response.body)[:2000]
        raise Unexpected(f"{what}: status {response.status}, not {status} with {text!r}: {shown}")
    return response
