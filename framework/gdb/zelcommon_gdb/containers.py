# SPDX-License-Identifier: Apache-2.0
"""The standard library's strings and lists, as they lie in memory."""

from . import memory, texts

MOST_ENTRIES = 10000


def string_at(address):
    """Returns the bytes of a std::string, at most what gdb is to show and one character more."""
    size = memory.pointer(address + memory.pointer_size())
    most = (texts.limit() + 1) * texts.LONGEST_CHARACTER
    return memory.read(memory.pointer(address), min(size, most))


def pointers_at(address):
    """Yields the pointers in a std::list, as far as it hangs together."""
    value_place = 2 * memory.pointer_size()
    seen = {address}
    node = memory.pointer(address)
    while node not in seen and len(seen) <= MOST_ENTRIES:
        seen.add(node)
        yield memory.pointer(node + value_place)
        node = memory.pointer(node)
