# SPDX-License-Identifier: Apache-2.0
"""What gdb runs to know the library's objects: by itself where it is installed under the name of the
shared library, or by `source`. The modules are in a folder beside it, or above it in
`zelcommon/gdb`."""

import os
import sys

import gdb

PACKAGE = "zelcommon_gdb"


def folder_of_modules():
    """Returns the folder that holds the package, or None."""
    folder = os.path.dirname(os.path.realpath(__file__))
    if os.path.isdir(os.path.join(folder, PACKAGE)):
        return folder
    while True:
        modules = os.path.join(folder, "zelcommon", "gdb")
        if os.path.isdir(os.path.join(modules, PACKAGE)):
            return modules
        above = os.path.dirname(folder)
        if above == folder:
            return None
        folder = above


def load():
    """Adds the printers, for the library alone if it is what gdb has just loaded."""
    folder = folder_of_modules()
    if folder is None:
        print("zelcommon: the modules for gdb are missing")
        return
    if folder not in sys.path:
        sys.path.insert(0, folder)
    writes_nothing = sys.dont_write_bytecode
    sys.dont_write_bytecode = True  # where these files are is not the place for others
    from zelcommon_gdb import commands, printers
    sys.dont_write_bytecode = writes_nothing
    printers.register(gdb.current_objfile())
    commands.register()


load()
