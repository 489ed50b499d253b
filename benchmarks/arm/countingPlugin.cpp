// SPDX-License-Identifier: Apache-2.0
//
// A plugin of the emulator that counts the guest's instructions between two markers, and prints the
// counts to standard output. Exact: each instruction counts by itself, when it is executed, so that
// a block that is left in the middle counts as far as it got.

#include <cinttypes>
#include <cstdio>

#include "markers.h"
#include "qemuPlugin.h"

int qemu_plugin_version = 1;

namespace {

// The measured program has one thread: nothing here is shared.
std::uint64_t executed = 0;
std::uint64_t executedBefore = 0;
std::uint64_t costOfBracket = 0;
std::uint64_t bracket = markers::BEGIN_WARM_UP;

void countInstructions(qemu_plugin_id_t, qemu_plugin_tb* block)
{
    const std::size_t count = qemu_plugin_tb_n_insns(block);
    for (std::size_t index = 0; index < count; ++index)
        qemu_plugin_register_vcpu_insn_exec_inline(qemu_plugin_tb_get_insn(block, index),
                                                   QEMU_PLUGIN_INLINE_ADD_U64, &executed, 1);
}

void endBracket()
{
    const std::uint64_t count = executed - executedBefore;
    if (bracket == markers::BEGIN_EMPTY) costOfBracket = count;
    if (bracket != markers::BEGIN_COUNTED) return;
    std::printf("%" PRIu64 "\n", count - costOfBracket);
    std::fflush(stdout);
}

void onSystemCall(qemu_plugin_id_t, unsigned int, std::int64_t number, std::uint64_t marker,
                  std::uint64_t, std::uint64_t, std::uint64_t, std::uint64_t, std::uint64_t,
                  std::uint64_t, std::uint64_t)
{
    if (number != markers::SYSTEM_CALL) return;
    if (marker == markers::END) return endBracket();
    bracket = marker;
    executedBefore = executed;
}

} // namespace

int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t*, int, char**)
{
    qemu_plugin_register_vcpu_tb_trans_cb(id, countInstructions);
    qemu_plugin_register_vcpu_syscall_cb(id, onSystemCall);
    return 0;
}
