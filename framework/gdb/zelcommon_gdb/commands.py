# SPDX-License-Identifier: Apache-2.0
"""The commands of gdb."""

import contextlib

import gdb

from . import channels, memory, storages


@contextlib.contextmanager
def language_of_library():
    """Has gdb read names and expressions as C++, whatever the selected frame is written in."""
    language = gdb.parameter("language")
    gdb.execute("set language c++", to_string=True)
    try:
        yield
    finally:
        gdb.execute("set language " + language, to_string=True)


class Zel(gdb.Command):
    """Show the state of the library in the program or core file."""

    def __init__(self):
        super().__init__("zel", gdb.COMMAND_DATA, prefix=True)


class Report(gdb.Command):
    """A command without arguments."""

    def __init__(self, name, report):
        super().__init__(name, gdb.COMMAND_DATA)
        self.report = report

    def invoke(self, argument, _):
        if argument:
            raise gdb.GdbError("This command takes no arguments.")
        try:
            with language_of_library():
                self.report()
        except gdb.error:
            print(memory.UNREADABLE)


class Errors(Report):
    """Print the errors of each thread, newest first.
Storages that were active before another are shown behind it, and what threads without a storage
share is shown in the end."""

    def __init__(self):
        super().__init__("zel errors", storages.report)


class Channels(Report):
    """Print the trace channels.
That is the tree of the trace client, and the channels that wait for one."""

    def __init__(self):
        super().__init__("zel channels", channels.report)


def register():
    for command in (Zel, Errors, Channels):
        command()
