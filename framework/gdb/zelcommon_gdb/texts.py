# SPDX-License-Identifier: Apache-2.0
"""Encoded bytes as characters, in the way of the library's codecs: what cannot be decoded is U+FFFD.
And characters as gdb's user is to see them."""

import gdb

REPLACEMENT = 0xFFFD
ESCAPES = {0x09: "\\t", 0x0A: "\\n", 0x0D: "\\r", 0x22: '\\"', 0x5C: "\\\\"}
LONGEST_CHARACTER = 6  # bytes
LONGEST_TEXT = 1 << 20  # characters, where gdb's own limit is off or beyond it


def limit():
    """Returns how many characters gdb is to show at most."""
    return min(gdb.parameter("print elements") or LONGEST_TEXT, LONGEST_TEXT)


def without_surrogate(code):
    return REPLACEMENT if code & 0xF800 == 0xD800 else code


def tail_length(lead):
    """Returns how many bytes are to follow a lead of UTF-8 of 0x80 or more."""
    ends = (0xC0, 0xE0, 0xF0, 0xF8, 0xFC, 0xFE)
    return next((tail for tail, end in enumerate(ends) if lead < end), 0)


def next_utf8(data, at):
    """Returns the character at a place and the place behind it."""
    lead = data[at]
    if lead < 0x80:
        return lead, at + 1
    tail = tail_length(lead)
    code = lead & (0x3F >> tail)
    for place in range(at + 1, at + 1 + tail):
        if place >= len(data):
            return REPLACEMENT, place
        if data[place] & 0xC0 != 0x80:
            return REPLACEMENT, place + 1  # swallowed, as the library does
        code = code << 6 | (data[place] & 0x3F)
    if tail == 0:
        return REPLACEMENT, at + 1
    if tail == 5:
        code = (code & 0x3FFFFFFF) | (data[at + 1] & 1) << 30
    return without_surrogate(code), at + 1 + tail


def next_utf16(data, at, order):
    """As `next_utf8`. An odd last byte is no character."""
    unit = int.from_bytes(data[at:at + 2], order)
    if len(data) - at < 2:
        return None, len(data)
    is_high = unit & 0xFC00 == 0xD800
    if not is_high or len(data) - at < 4:
        return without_surrogate(unit), at + 2
    low = int.from_bytes(data[at + 2:at + 4], order)
    if low & 0xFC00 != 0xDC00:
        return REPLACEMENT, at + 4
    return without_surrogate(((unit & 0x3FF) << 10 | (low & 0x3FF)) + 0x10000), at + 4


def next_ucs4(data, at):
    """As `next_utf8`. Fewer than four bytes are no character."""
    if len(data) - at < 4:
        return None, len(data)
    return without_surrogate(int.from_bytes(data[at:at + 4], "little")), at + 4


STEPS = {
    "UTF-8": next_utf8,
    "UTF-16LE": lambda data, at: next_utf16(data, at, "little"),
    "UTF-16BE": lambda data, at: next_utf16(data, at, "big"),
    "UCS-4": next_ucs4,
}


def decode(encoding, data, most):
    """Returns the first `most` characters of some bytes as numbers."""
    step = STEPS[encoding]
    codes = []
    at = 0
    while at < len(data) and len(codes) < most:
        code, at = step(data, at)
        if code is not None:
            codes.append(code)
    return codes


def is_showable(code):
    """Returns whether the terminal has the character, and it is one to look at."""
    if code > 0x10FFFF or not chr(code).isprintable():
        return False
    try:
        chr(code).encode(gdb.target_charset())
    except (UnicodeEncodeError, LookupError):
        return False
    return True


def shown(code, escapes):
    if code in escapes:
        return escapes[code]
    if is_showable(code):
        return chr(code)
    return "\\u%04x" % code if code <= 0xFFFF else "\\U%08x" % code


def first(encoding, data):
    """Returns the first character of some bytes, by its number and as it looks."""
    code = (decode(encoding, data, 1) or [REPLACEMENT])[0]
    return 'U+%04X "%s"' % (code, shown(code, ESCAPES))


def quoted(encoding, data):
    """Returns the text in quotation marks, with "..." behind it if it is cut."""
    most = limit()
    codes = decode(encoding, data, most + 1)
    text = "".join(shown(code, ESCAPES) for code in codes[:most])
    return '"%s"%s' % (text, "..." if len(codes) > most else "")


def plain(data):
    """Returns a text of UTF-8 as it is, lines and all, cut as others are."""
    most = limit()
    codes = decode("UTF-8", data, most + 1)
    text = "".join(shown(code, {0x09: "\t", 0x0A: "\n"}) for code in codes[:most])
    return text + ("..." if len(codes) > most else "")
