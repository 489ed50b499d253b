# SPDX-License-Identifier: Apache-2.0
"""Run by gdb: holds how it decodes texts against what the library says of them, line by line."""

from zelcommon_gdb import texts

LINES = 20000


def encoded(code):
    """Returns a character in UTF-8 in its early form, of one to six bytes; others are replaced."""
    if code < 0x80:
        return bytes([code])
    length = next((length for length in range(2, 7) if code < 1 << 5 * length + 1), None)
    if length is None:
        return encoded(texts.REPLACEMENT)
    tail = [0x80 | (code >> 6 * place & 0x3F) for place in range(length - 1)]
    return bytes([0xFF00 >> length & 0xFF | code >> 6 * (length - 1)] + tail[::-1])


def is_the_same(line):
    encoding, data, utf8, count = line.rstrip("\n").split(",")
    codes = texts.decode(encoding, bytes.fromhex(data), LINES)
    return b"".join(map(encoded, codes)).hex() == utf8 and len(codes) == int(count)


def compare(path):
    with open(path, encoding="ascii") as file:
        lines = list(file)
    different = [line for line in lines if not is_the_same(line)]
    print("".join(different[:10]), end="")
    print("%d texts, %d different" % (len(lines), len(different)))
