# SPDX-License-Identifier: Apache-2.0
"""Trace channels: one, those that wait for a trace client, and the tree that the client has."""

import gdb

from . import containers, layout, memory, texts

LEVELS = ("trace", "debug", "info", "warning", "error", "fatal", "off", "none", "disabled", "default")
LIST = "_ZZN7tracing11ChannelList11getInstanceEvE10s_instance"
CLIENT = "tracing::impl::Client"
LISTENER = "tracing::IChannelListListener"
DEEPEST = 64


class Channel:
    """A channel's fields."""

    def __init__(self, address):
        fields = layout.channel_layout()
        self.address = address
        self.client = memory.pointer(address + fields.place("client"))
        self.id = memory.signed(address + fields.place("id"), 4)
        self.filter = memory.signed(address + fields.place("filter"), 2)
        self.initial = memory.signed(address + fields.place("initial"), 2)
        self.children = address + fields.place("children")
        self.name = containers.string_at(address + fields.place("name"))
        self.path = containers.string_at(address + fields.place("path"))

    def known_name(self):
        """Returns the path, or the name where there is no path yet."""
        return texts.quoted("UTF-8", self.path or self.name)

    def state(self):
        """Returns the levels and the id. What nobody registered stands in for a part of a path."""
        if self.client == 0:
            return "without a client, built with %s" % level_name(self.initial)
        return "%s, built with %s, id %d" % (level_name(self.filter), level_name(self.initial),
                                             self.id)


def level_name(level):
    return LEVELS[level] if 0 <= level < len(LEVELS) else "<level %d>" % level


def line(address):
    """Returns the description of the channel at an address; never fails."""
    try:
        channel = Channel(address)
        return "%s: %s" % (channel.known_name(), channel.state())
    except gdb.error:
        return memory.UNREADABLE


def describe_place(channel, depth):
    """Returns the line of a channel in the tree."""
    name = texts.plain(channel.name)
    if channel.client == 0:  # nobody registered it
        return "  " * depth + name
    return "  " * depth + "%s: %s" % (name, channel.state())


def print_tree(address, seen, depth=0):
    """Prints a channel and what is below it. Where the tree runs in a circle, it ends."""
    if address in seen or depth > DEEPEST:
        return
    seen.add(address)
    try:
        channel = Channel(address)
        print(describe_place(channel, depth))
        for child in containers.pointers_at(channel.children):
            print_tree(child, seen, depth + 1)
    except gdb.error:
        print("  " * depth + memory.UNREADABLE)


def root_of(listener):
    """Returns the address of the root of the tree, or None if the client is another, or has no debug
    information."""
    try:
        client = gdb.lookup_type(CLIENT)
        base = next(field for field in client.fields()
                    if field.is_base_class and field.name == LISTENER)
        if memory.class_at(listener) != CLIENT:
            return None
        place = gdb.Value(listener - base.bitpos // 8).cast(client.pointer())
        return int(place["m_tree"]["m_root"]["standIn"].address)
    except (gdb.error, StopIteration):
        return None


def report_client(listener):
    root = root_of(listener)
    if root is None:
        print("The channels that the trace client at %#x has taken in cannot be read: it is not that "
              "of libtracing-impl, or has no debug information." % listener)
        return
    print("Channels of the trace client:")
    print_tree(root, set())


def report_waiting(channels):
    addresses = list(containers.pointers_at(channels))
    if addresses:
        print("Channels that wait for a trace client:")
    for address in addresses:
        print("  " + line(address))


def report():
    """Prints all channels of the process."""
    if not gdb.selected_inferior().threads():
        raise gdb.GdbError("There is no process, and no core file.")
    variable = memory.address_of(LIST)
    if variable is None:
        raise gdb.GdbError("The channels cannot be found: libzelcommon is not there, or has no "
                           "symbols. Load its debug information.")
    channels = memory.pointer(variable)
    listener = memory.pointer(channels + 3 * memory.pointer_size()) if channels != 0 else 0
    if listener != 0:
        report_client(listener)
    else:
        print("There is no trace client.")
    if channels != 0:
        report_waiting(channels)
