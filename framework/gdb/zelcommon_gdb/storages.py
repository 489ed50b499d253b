# SPDX-License-Identifier: Apache-2.0
"""The error storages of all threads."""

import gdb

from . import errors, layout, memory, threads

SLOT = "_ZN9errorcore6s_slotE"
SLOT_USABLE = "_ZN9errorcore12s_slotUsableE"
FALLBACK = "_ZN3std12ErrorStorage8Fallback8s_memoryE"


def key():
    """Returns the key under which threads keep their storages; None where it is not there yet, or
    any more."""
    usable = memory.address_of(SLOT_USABLE)
    slot = memory.address_of(SLOT)
    if usable is None or slot is None:
        raise gdb.GdbError("The storages cannot be found: libzelcommon is not there, or has no "
                           "symbols. Load its debug information.")
    return memory.number(slot, 4) if memory.number(usable, 1) != 0 else None


def of_thread(thread, known, slot_key):
    """Returns the address of a thread's storage, 0 for none."""
    if slot_key is None:
        return 0
    descriptor = known.get(thread.ptid[1]) or threads.descriptor_in_register(thread)
    if descriptor is None:
        raise threads.Unknown()
    return threads.stored(descriptor, slot_key)


def nested(address):
    """Yields a storage, and those that were active before it. The fallback is a thread's like any
    other."""
    seen = set()
    while address != 0 and address not in seen and len(seen) < layout.CAPACITY:
        seen.add(address)
        yield address
        address = errors.Storage(address).previous


def name_of(thread):
    """Returns the name of a thread, None for none and for bytes that are no text."""
    try:
        return thread.name
    except UnicodeDecodeError:
        return None


def titled(thread):
    name = name_of(thread)
    quoted = ' "%s"' % name if name else ""
    return "Thread %d%s (LWP %d)" % (thread.num, quoted, thread.ptid[1])


def described(address, fallback):
    return "the fallback storage" if address == fallback else errors.of_storage(address)


def report_thread(thread, known, slot_key, fallback):
    """Prints what a thread's storages hold, up to the first that cannot be read."""
    intro = titled(thread) + ": "
    try:
        newest = of_thread(thread, known, slot_key)
        if newest == 0:
            print(intro + "no storage")
        for address in nested(newest):
            print(intro + described(address, fallback))
            intro = "  around it: "
    except (gdb.error, threads.Unknown):
        print(intro + memory.UNREADABLE)


def known_threads():
    try:
        return threads.descriptors()
    except (gdb.error, threads.Unknown):
        return {}


def report():
    """Prints the errors of all threads, and those of threads that have no storage of their own."""
    all_threads = sorted(gdb.selected_inferior().threads(), key=lambda thread: thread.num)
    if not all_threads:
        raise gdb.GdbError("There is no process, and no core file.")
    slot_key = key()
    known = known_threads()
    fallback = memory.address_of(FALLBACK)
    for thread in all_threads:
        report_thread(thread, known, slot_key, fallback)
    if fallback is not None and errors.Storage(fallback).has_errors():
        print("The fallback storage, which threads without another share: " + errors.of_storage(fallback))
