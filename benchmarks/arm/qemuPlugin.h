// SPDX-License-Identifier: Apache-2.0
//
// The part of the emulator's plugin interface, version 1, that the instruction counter uses; the
// emulator's package comes without a header. The emulator exports the functions, and looks up
// `qemu_plugin_version` and `qemu_plugin_install` in the plugin.

#ifndef ZELCOMMON_BENCHMARKS_ARM_QEMUPLUGIN_H
#define ZELCOMMON_BENCHMARKS_ARM_QEMUPLUGIN_H

#include <cstddef>
#include <cstdint>

extern "C" {

using qemu_plugin_id_t = std::uint64_t;

/// What the emulator tells about itself; nothing of it is needed.
struct qemu_info_t;
/// A block of guest instructions that is translated at once, and one of them.
struct qemu_plugin_tb;
struct qemu_plugin_insn;

enum qemu_plugin_op {
    QEMU_PLUGIN_INLINE_ADD_U64,
};

using qemu_plugin_vcpu_tb_trans_cb_t = void (*)(qemu_plugin_id_t id, qemu_plugin_tb* block);

using qemu_plugin_vcpu_syscall_cb_t = void (*)(qemu_plugin_id_t id, unsigned int cpu,
                                               std::int64_t number, std::uint64_t a1,
                                               std::uint64_t a2, std::uint64_t a3, std::uint64_t a4,
                                               std::uint64_t a5, std::uint64_t a6, std::uint64_t a7,
                                               std::uint64_t a8);

/// Calls `callback` whenever a block is translated.
void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id,
                                           qemu_plugin_vcpu_tb_trans_cb_t callback);
/// Calls `callback` before each system call of the guest.
void qemu_plugin_register_vcpu_syscall_cb(qemu_plugin_id_t id,
                                          qemu_plugin_vcpu_syscall_cb_t callback);

std::size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb* block);
qemu_plugin_insn* qemu_plugin_tb_get_insn(const qemu_plugin_tb* block, std::size_t index);

/// While a block is translated: has `value` added to `*counter` each time before `instruction`.
void qemu_plugin_register_vcpu_insn_exec_inline(qemu_plugin_insn* instruction,
                                                qemu_plugin_op operation, void* counter,
                                                std::uint64_t value);

/// The interface's version that the plugin is written for.
[[gnu::visibility("default")]] extern int qemu_plugin_version;
/// Called once. Returns 0 for success.
[[gnu::visibility("default")]] int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t* info,
                                                       int argc, char** argv);
}

#endif // ZELCOMMON_BENCHMARKS_ARM_QEMUPLUGIN_H
