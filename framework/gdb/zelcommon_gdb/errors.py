# SPDX-License-Identifier: Apache-2.0
"""Error chains, in the words of the library's own list of reasons."""

import re

import gdb

from . import layout, memory, texts


class Error:
    """A recorded error."""

    def __init__(self, address):
        fields = layout.error_layout()
        self.address = address
        self.type = memory.pointer(address + fields.place("type"))
        self.id = memory.signed(address + fields.place("id"), 4)
        self.file = memory.pointer(address + fields.place("file"))
        self.line = memory.signed(address + fields.place("line"), 4)
        self.reason = memory.pointer(address + fields.place("reason"))
        self.cause = memory.pointer(address + fields.place("cause"))
        self.buffer = address + fields.place("buffer")

    def reason_text(self):
        """Returns the reason, or None if there is none."""
        if self.reason == 0:
            return None
        is_own = self.reason == self.buffer
        return text_at(self.reason, layout.REASON_SIZE if is_own else None)

    def file_text(self):
        """Returns the file's path as the list of reasons shows it, or None if there is none."""
        return short_path(text_at(self.file)) if self.file != 0 else None


class Storage:
    """The errors of a thread."""

    def __init__(self, address):
        fields = layout.storage_layout()
        self.address = address
        self.current = memory.pointer(address + fields.place("current"))
        self.previous = memory.pointer(address + fields.place("previous"))
        self.count = memory.signed(address + fields.place("count"), 4)
        self.is_acknowledged = memory.number(address + fields.place("acknowledged"), 1) != 0
        self.ring = address + fields.place("errors")

    def is_plausible(self):
        """Returns whether the newest error is one of the ring's."""
        place, rest = divmod(self.current - self.ring, layout.error_layout().size)
        return self.current == 0 or (rest == 0 and 0 <= place < layout.CAPACITY)

    def summary(self):
        if not self.is_plausible():
            return "<no storage, or overwritten>"
        if self.current == 0:
            return "no errors"
        state = "acknowledged" if self.is_acknowledged else "pending"
        return "%s, %d recorded" % (state, self.count)

    def has_errors(self):
        return self.current != 0 and self.is_plausible()


def text_at(address, most=None):
    """Returns a terminated text for the user; never fails."""
    most = most or (texts.limit() + 1) * texts.LONGEST_CHARACTER
    try:
        return texts.plain(memory.terminated(address, most))
    except gdb.error:
        return memory.UNREADABLE


def short_path(path):
    """Returns the part of a path from its first directory "src" or "include" on."""
    found = re.search(r"[/\\]((?:src|include)[/\\].*)", path, re.DOTALL)
    return found.group(1) if found else path


def one(error):
    """Returns the text of an error, and whether it is whole: at a null text the list ends."""
    text = "Error (ID %d):\n\t" % error.id
    reason = error.reason_text()
    if reason is None:
        return text, False
    text += reason + "\n\tLocation: "
    file = error.file_text()
    if file is None:
        return text, False
    return "%s%s:%d" % (text, file, error.line), True


def chain(address):
    """Returns the text of the error at an address and of its causes, as many as a chain can hold."""
    pieces = []
    for _ in range(layout.CAPACITY):
        try:
            error = Error(address)
        except gdb.error:
            pieces.append(memory.UNREADABLE)
            break
        text, is_whole = one(error)
        pieces.append(text)
        address = error.cause
        if address == 0 or not is_whole:
            break
    return "\n\twas caused by\n".join(pieces)


def of_storage(address):
    """Returns the state of a storage, and its chain in the lines behind."""
    storage = Storage(address)
    if not storage.has_errors():
        return storage.summary()
    return "%s:\n%s" % (storage.summary(), chain(storage.current))
