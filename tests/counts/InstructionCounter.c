/* A plug-in for qemu's user-mode emulators, from version 4.2 on: counts the instructions that the
 * emulated program executes and writes "instructions N" to the emulator's log when it exits.
 *
 * Use: qemu-x86_64 -plugin ./instruction_counter.so -d plugin PROGRAM [ARGUMENTS...]
 *
 * The interface to the emulator is declared here, the few functions that are needed. Their names,
 * arguments and order of calls are fixed by the emulator's plug-in interface, version 1.
 */
#include <inttypes.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

/* A translated block: a run of instructions without a jump into or out of it. */
struct qemu_plugin_tb;

size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);
void qemu_plugin_register_vcpu_tb_trans_cb(uint64_t plugin,
                                           void (*translated)(uint64_t, struct qemu_plugin_tb*));
/* operation 0: adds value to *counter whenever the block is executed. */
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb* block, int operation,
                                              void* counter, uint64_t value);
void qemu_plugin_register_atexit_cb(uint64_t plugin, void (*ended)(uint64_t, void*), void* data);
void qemu_plugin_outs(const char* text);

#define EXPORTED __attribute__((visibility("default")))

/* The version of the interface that this file is written for. */
EXPORTED int qemu_plugin_version = 1;
EXPORTED int qemu_plugin_install(uint64_t plugin, const void* info, int argc, char** argv);

/* Without a lock: the programs counted have one thread. */
static uint64_t instructions;

static void countBlock(uint64_t plugin, struct qemu_plugin_tb* block) {
  (void)plugin;
  qemu_plugin_register_vcpu_tb_exec_inline(block, 0, &instructions, qemu_plugin_tb_n_insns(block));
}

static void report(uint64_t plugin, void* data) {
  char text[40];
  (void)plugin;
  (void)data;
  snprintf(text, sizeof text, "instructions %" PRIu64 "\n", instructions);
  qemu_plugin_outs(text);
}

int qemu_plugin_install(uint64_t plugin, const void* info, int argc, char** argv) {
  (void)info;
  (void)argc;
  (void)argv;
  qemu_plugin_register_vcpu_tb_trans_cb(plugin, countBlock);
  qemu_plugin_register_atexit_cb(plugin, report, NULL);
  return 0;
}
