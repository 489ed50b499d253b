# SPDX-License-Identifier: Apache-2.0
"""The program's memory and symbols. What cannot be read raises `gdb.MemoryError`."""

import re
import struct

import gdb

CHUNK = 64  # never crosses a page when it ends at a multiple of itself
UNREADABLE = "<unreadable>"


def pointer_size():
    return gdb.lookup_type("void").pointer().sizeof


def read(address, size):
    """Returns `size` bytes."""
    if address <= 0 or size < 0 or address + size > 1 << 8 * pointer_size():
        raise gdb.MemoryError("Cannot access memory at address %#x" % address)
    if size == 0:
        return b""
    return bytes(gdb.selected_inferior().read_memory(address, size))


def number(address, size):
    """Returns an unsigned number of `size` bytes."""
    return int.from_bytes(read(address, size), "little")


def pointer(address):
    return number(address, pointer_size())


def signed(address, size):
    return int.from_bytes(read(address, size), "little", signed=True)


def numbers(address, count):
    """Returns `count` numbers of 32 bits."""
    return struct.unpack("<%dI" % count, read(address, 4 * count))


def terminated(address, most):
    """Returns the bytes up to a terminator, at most `most`."""
    text = bytearray()
    while len(text) < most:
        place = address + len(text)
        chunk = read(place, min(CHUNK - place % CHUNK, most - len(text)))
        end = chunk.find(b"\0")
        if end >= 0:
            return bytes(text + chunk[:end])
        text += chunk
    return bytes(text)


def address_of(symbol):
    """Returns where a symbol is, by its name for the linker; None if there is none. Neither debug
    information nor an exported symbol is needed, but one at all."""
    try:
        return int(gdb.parse_and_eval("(unsigned long long)&" + symbol))
    except gdb.error:
        return None


def symbol_at(address):
    """Returns the symbol that an address is in, and how far behind its beginning it is; None if
    there is none."""
    try:
        command = "with print demangle on -- info symbol %#x" % address
        line = gdb.execute(command, to_string=True)
    except gdb.error:
        return None
    found = re.match(r"(.+?)(?: \+ (\d+))? in section ", line)
    if found is None:
        return None
    name = found.group(1).partition("@")[0]  # without the version that a program's copy is known by
    return name, int(found.group(2) or 0)


def name_at(address):
    """Returns the name of the object or function that begins at an address, or the address."""
    symbol = symbol_at(address)
    return symbol[0] if symbol and symbol[1] == 0 else "%#x" % address


def class_at(address):
    """Returns the name of the class of an object with virtual functions, or None."""
    symbol = symbol_at(pointer(address))
    prefix = "vtable for "
    if symbol is None or not symbol[0].startswith(prefix):
        return None
    return symbol[0][len(prefix):]
