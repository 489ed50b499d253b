# SPDX-License-Identifier: Apache-2.0
"""How gdb shows the objects of the library. Nothing here calls functions of the program: all of it
works on core files, too."""
