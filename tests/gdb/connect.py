# SPDX-License-Identifier: Apache-2.0
"""Run by gdb: connects to an emulator that may not listen yet. Whoever runs gdb limits its time."""

import gdb


def connect(path):
    while True:
        try:
            gdb.execute("target remote " + path, to_string=True)
            return
        except gdb.error:
            pass
