# SPDX-License-Identifier: Apache-2.0
"""The library's records as they lie in memory. The layout is part of its binary interface, so they
are read without debug information, which a library on a device has not."""

from . import memory

REASON_SIZE = 256
CAPACITY = 8


class Layout:
    """Places of fields one after another, each aligned to its size."""

    def __init__(self, *fields):
        self.places = {}
        self.pointer_size = memory.pointer_size()
        end = 0
        for name, size, *count in fields:
            width = self.pointer_size if size == "pointer" else size
            end += -end % width
            self.places[name] = end
            end += width * (count[0] if count else 1)
        self.size = end + -end % self.pointer_size

    def place(self, name):
        return self.places[name]


def error_layout():
    """std::ErrorObject."""
    return Layout(("type", "pointer"), ("id", 4), ("file", "pointer"), ("line", 4),
                  ("reason", "pointer"), ("buffer", 1, REASON_SIZE), ("thread", "pointer"),
                  ("process", 4), ("cause", "pointer"))


def storage_layout():
    """std::ErrorStorage. The ring of errors has the alignment of a pointer, as all behind it."""
    words = CAPACITY * error_layout().size // memory.pointer_size()
    return Layout(("current", "pointer"), ("previous", "pointer"), ("count", 4),
                  ("errors", "pointer", words), ("action", "pointer"), ("acknowledged", 1),
                  ("reporting", 1), ("data", "pointer"))


def channel_layout():
    """tracing::Channel. A list is two pointers and a size; a string has room for 16 bytes."""
    size = memory.pointer_size()
    return Layout(("client", "pointer"), ("parent", "pointer"), ("children", "pointer", 3),
                  ("name", "pointer", 2 + 16 // size), ("path", "pointer", 2 + 16 // size),
                  ("filter", 2), ("initial", 2), ("id", 4), ("flags", 4))
