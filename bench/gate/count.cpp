// SPDX-License-Identifier: Apache-2.0
// Plug-in for qemu's emulators: counts the guest's instructions and prints the count at exit. For
// single-threaded guests: the counter is not locked.
#include <cstddef>
#include <cstdint>
#include <cstdio>

// The parts of the emulator's plug-in interface (version 1) that are used; Debian has no header for
// it.
extern "C" {
struct qemu_plugin_tb;
struct qemu_info_t;
using PluginId = std::uint64_t;
constexpr int INLINE_ADD = 0;
void qemu_plugin_register_vcpu_tb_trans_cb(PluginId id,
                                           void (*translated)(PluginId, qemu_plugin_tb*));
void qemu_plugin_register_vcpu_tb_exec_inline(qemu_plugin_tb* block, int operation, void* counter,
                                              std::uint64_t value);
void qemu_plugin_register_atexit_cb(PluginId id, void (*atExit)(PluginId, void*), void* data);
std::size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb* block);
void qemu_plugin_outs(const char* text);
}

namespace {

std::uint64_t gInstructions = 0;

void countBlock(PluginId, qemu_plugin_tb* block) {
    qemu_plugin_register_vcpu_tb_exec_inline(block, INLINE_ADD, &gInstructions,
                                             qemu_plugin_tb_n_insns(block));
}

void printCount(PluginId, void*) {
    char text[32];
    std::snprintf(text, sizeof text, "%llu\n", static_cast<unsigned long long>(gInstructions));
    qemu_plugin_outs(text);
}

}  // namespace

extern "C" {
__attribute__((visibility("default"))) int qemu_plugin_version = 1;

__attribute__((visibility("default"))) int qemu_plugin_install(PluginId id, const qemu_info_t*, int,
                                                               char**) {
    qemu_plugin_register_vcpu_tb_trans_cb(id, countBlock);
    qemu_plugin_register_atexit_cb(id, printCount, nullptr);
    return 0;
}
}
