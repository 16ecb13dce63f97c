// A plugin for qemu's user emulation that counts what the guest executes: each translated block adds its
// number of instructions when it runs. Prints the sum at the end.
//
// usage: qemu-arm -plugin PLUGIN -d plugin PROGRAM...

#include <stddef.h>
#include <stdint.h>

#include <cinttypes>
#include <cstdio>

// The part of qemu's plugin interface, version 1, that this needs; Debian ships no header for it.
extern "C" {
struct qemu_plugin_tb;
enum { kAddNumber = 0 };
size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb *block);
void qemu_plugin_register_vcpu_tb_trans_cb(uint64_t plugin, void (*translated)(uint64_t, qemu_plugin_tb *));
void qemu_plugin_register_vcpu_tb_exec_inline(qemu_plugin_tb *block, int operation, void *counter,
                                              uint64_t number);
void qemu_plugin_register_atexit_cb(uint64_t plugin, void (*ended)(uint64_t, void *), void *data);
void qemu_plugin_outs(const char *text);

extern const int qemu_plugin_version;
int qemu_plugin_install(uint64_t plugin, const void *info, int argc, char **argv);
}

const int qemu_plugin_version = 1;

static uint64_t executed;

static void count_block(uint64_t, qemu_plugin_tb *block) {
    qemu_plugin_register_vcpu_tb_exec_inline(block, kAddNumber, &executed, qemu_plugin_tb_n_insns(block));
}

static void print_sum(uint64_t, void *) {
    char text[32];
    snprintf(text, sizeof text, "%" PRIu64 "\n", executed);
    qemu_plugin_outs(text);
}

int qemu_plugin_install(uint64_t plugin, const void *, int, char **) {
    qemu_plugin_register_vcpu_tb_trans_cb(plugin, count_block);
    qemu_plugin_register_atexit_cb(plugin, print_sum, nullptr);
    return 0;
}
