# SPDX-License-Identifier: Apache-2.0
"""The pretty-printers, by the names of the types."""

import gdb
import gdb.printing

from . import channels, containers, errors, memory, texts, values


def in_memory(value):
    """Returns the address of an object."""
    if value.address is None:
        raise gdb.MemoryError("not in memory")
    return int(value.address)


def text(value):
    return values.Text(value).shown()


def error(value):
    """The category, then the error as the list of reasons shows it, with its causes."""
    address = in_memory(value)
    found = errors.Error(address)
    if found.type == 0:
        return "no error"
    return "of %s:\n%s" % (memory.name_at(found.type), errors.chain(address))


def storage(value):
    return errors.of_storage(in_memory(value))


def channel(value):
    return channels.line(in_memory(value))


class Printer:
    """Shows a value as the text that a function makes of it, and no more than that it cannot be
    read where that is so."""

    def __init__(self, show, value):
        self.show = show
        self.value = value

    def to_string(self):
        try:
            return self.show(self.value)
        except gdb.error:
            return memory.UNREADABLE


class ChannelPrinter(Printer):
    """Shows what is below a channel, too."""

    def children(self):
        try:
            children = channels.Channel(in_memory(self.value)).children
            below = list(containers.pointers_at(children))
        except gdb.error:
            return
        for number, child in enumerate(below[:texts.limit()]):
            yield "[%d]" % number, channels.line(child)

    def display_hint(self):
        return None


SHOWN = {
    "std::unicode::String": text,
    "std::unicode::String::Iterator": values.position,
    "std::SharedBuf": values.block,
    "std::UUID": values.uuid,
    "std::ErrorObject": error,
    "std::ErrorStorage": storage,
    "std::ErrorStorage::Fallback": storage,
    "std::StdoutDumpErrorStorage": storage,
    "std::AbortErrorStorage": storage,
    "std::TraceErrorStorage": storage,
    "std::CustomErrorStorage": storage,
    "zelbase::TimePoint": values.point,
    "zelbase::Duration": values.span,
}


def maker(printer, show):
    return lambda value: printer(show, value)


def register(objfile):
    """Adds the printers to what belongs to a file, or to everything."""
    printers = gdb.printing.RegexpCollectionPrettyPrinter("zelcommon")
    for name, show in SHOWN.items():
        printers.add_printer(name, "^%s$" % name, maker(Printer, show))
    name = "tracing::Channel"
    printers.add_printer(name, "^%s$" % name, maker(ChannelPrinter, channel))
    gdb.printing.register_pretty_printer(objfile, printers, replace=True)
