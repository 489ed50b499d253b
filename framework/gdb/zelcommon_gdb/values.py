# SPDX-License-Identifier: Apache-2.0
"""Texts, positions, blocks and other values, read by their fields."""

import gdb

from . import memory, texts

CODECS = {"std::unicode::Utf8": "UTF-8", "std::unicode::Ucs4": "UCS-4"}


def codec_name(address):
    """Returns the name of a codec's encoding, or the class of a program's own codec."""
    name = memory.class_at(address)
    if name is None:
        raise gdb.MemoryError("no codec")
    if name != "std::unicode::Utf16":
        return CODECS.get(name, name)
    is_big_endian = memory.number(address + memory.pointer_size(), 1) != 0
    return "UTF-16BE" if is_big_endian else "UTF-16LE"


class Text:
    """A std::unicode::String."""

    def __init__(self, value):
        buffer = value["m_buffer"]
        block = int(buffer["data"])
        self.codec = codec_name(int(value["m_codec"]))
        self.count = int(value["m_count"])
        self.data = block + int(buffer["offset"]) if block != 0 else 0
        self.length = (int(buffer["size"]) - int(buffer["offset"])) & 0xFFFFFFFF

    def bytes(self, begin, most):
        """Returns the bytes of `most` characters and one more from a place on."""
        if self.data == 0:
            return b""
        size = min(self.length - begin, (most + 1) * texts.LONGEST_CHARACTER)
        return memory.read(self.data + begin, size)

    def quoted(self):
        if self.codec not in texts.STEPS:
            return "<%d bytes>" % self.length
        return texts.quoted(self.codec, self.bytes(0, texts.limit()))

    def shown(self):
        plural = "" if self.count == 1 else "s"
        return "%s (%s, %d character%s)" % (self.quoted(), self.codec, self.count, plural)


def position(value):
    """A place in a text, and the character there."""
    if int(value["string"]) == 0:
        return "in no text"
    text = Text(value["string"].dereference())
    chars = int(value["position"]["chars"])
    begin = int(value["position"]["bytes"])
    if chars == text.count or begin >= text.length:
        return "the end of " + text.quoted()
    place = "character %d, byte %d of %s" % (chars, begin, text.quoted())
    if text.codec not in texts.STEPS:
        return place
    return "%s: %s" % (place, texts.first(text.codec, text.bytes(begin, 1)))


def block(value):
    """The bytes that a holder sees of a block, and how many holders the block has."""
    data = int(value["data"])
    if data == 0:
        return "no block"
    return "bytes %d to %d of the block at %#x, references: %d" % (
        int(value["offset"]), int(value["size"]), data, memory.number(data, 4))


def uuid(value):
    fields = value["m_value"]
    node = "".join("%02x" % int(fields["node"][place]) for place in range(6))
    text = "%08x-%04x-%04x-%04x-%s" % (
        int(fields["timeLow"]), int(fields["timeMid"]), int(fields["timeHiAndVersion"]),
        int(fields["clockSeq"]), node)
    return text + (" (the last text was malformed)" if int(value["m_invalid"]) != 0 else "")


def milliseconds(value, limits):
    number = int(value["m_milliseconds"])
    return "%d ms%s" % (number, " (%s)" % limits[number] if number in limits else "")


def point(value):
    return milliseconds(value, {(1 << 64) - 1: "MAX"})


def span(value):
    return milliseconds(value, {(1 << 63) - 1: "MAX", -(1 << 63): "the least"})
