"""Splits the schema's comments into plain text, code, and names of messages to link.

Comments are prose; names between backticks are their only markup.
"""

import re

# CamelCase: a lower-case letter between two capitals, as in no English word.
_PIECES = re.compile(r"`([^`]+)`|\b([A-Z]\w*[a-z]\w*[A-Z]\w*)\b")


class Prose:
    """Resolves the names of messages in the comments of a file."""

    def __init__(self, model):
        self._by_name = {}
        for message in model.messages:
            self._by_name.setdefault(message.name, []).append(message)

    def pieces(self, comment, file):
        """Yields (kind, text, message): kind is text, code or link; only a link has a message."""
        end = 0
        for found in _PIECES.finditer(comment):
            message = None if found[1] else self._message(found[2], file)
            if not found[1] and not message:
                continue
            if found.start() > end:
                yield "text", comment[end:found.start()], None
            yield ("link", found[2], message) if message else ("code", found[1], None)
            end = found.end()
        if end < len(comment):
            yield "text", comment[end:], None

    def _message(self, name, file):
        """The message of that name in the file, else the only one of that name."""
        messages = self._by_name.get(name, [])
        here = [message for message in messages if message.file is file]
        [message] = here or (messages if len(messages) == 1 else [None])
        return message
