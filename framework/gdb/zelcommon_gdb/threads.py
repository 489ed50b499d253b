# SPDX-License-Identifier: Apache-2.0
"""What each thread has stored under a key, read from the C library's memory. The C library describes
its records to debuggers in data that is there without debug information."""

import gdb

from . import memory

MOST_THREADS = 100000


class Unknown(Exception):
    """The C library's threads cannot be read."""


def described(name):
    """Returns the number of entries and the place of a field of the C library's."""
    address = memory.address_of("_thread_db_" + name)
    if address is None:
        raise Unknown()
    _, count, place = memory.numbers(address, 3)
    return count, place


def listed(head):
    """Yields the descriptors of the threads in a list."""
    next_place = described("list_t_next")[1]
    own_place = described("pthread_list")[1]
    seen = {0, head}
    node = memory.pointer(head + next_place)
    while node not in seen and len(seen) < MOST_THREADS:
        seen.add(node)
        yield node - own_place
        node = memory.pointer(node + next_place)


def heads():
    """Returns where the lists of threads begin: in a record of the loader's, or, where the C library
    is linked statically, as they are."""
    names = ("_dl_stack_used", "_dl_stack_user")
    variable = memory.address_of("__nptl_rtld_global")
    if variable is not None:
        record = memory.pointer(variable)
        return [record + described("rtld_global_" + name)[1] for name in names]
    addresses = [memory.address_of(name) for name in names]
    if None in addresses:
        raise Unknown()
    return addresses


def descriptors():
    """Returns the threads' descriptors by the numbers that the kernel has for them."""
    id_place = described("pthread_tid")[1]
    return {memory.number(descriptor + id_place, 4): descriptor
            for head in heads() for descriptor in listed(head)}


def register_of(thread):
    thread.switch()
    frame = gdb.newest_frame()
    if frame.architecture().name() != "i386:x86-64":
        return None
    return int(frame.read_register("fs_base"))


def descriptor_in_register(thread):
    """Returns the descriptor from the register that holds it, or None. Where the debugger is outside
    of the program's name space, the numbers of the threads tell nothing."""
    selected, frame = gdb.selected_thread(), gdb.selected_frame()
    try:
        return register_of(thread)
    except (gdb.error, ValueError):
        return None
    finally:
        selected.switch()
        frame.select()


def stored(descriptor, key):
    """Returns the value that a thread has stored under a key, 0 for none."""
    per_block, _ = described("pthread_key_data_level2_data")
    size_place = memory.address_of("_thread_db_sizeof_pthread_key_data")
    if size_place is None or per_block == 0:
        raise Unknown()
    entry_size = memory.number(size_place, 4)
    blocks = descriptor + described("pthread_specific")[1]
    block = memory.pointer(blocks + key // per_block * memory.pointer_size())
    if block == 0:
        return 0
    entry = block + key % per_block * entry_size
    return memory.pointer(entry + described("pthread_key_data_data")[1])
