/* A plug-in of QEMU's user emulation: counts what the emulated program executes, and prints the
 * count whenever the program asks for its parent's number, which nothing else here does. */

#include <inttypes.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

/* Of the emulator's interface, version 1, what is used here: its header is in no package. */
typedef uint64_t plugin_id;
struct emulator_info;
struct translated_block;
enum inline_operation { add_to_counter };
extern void qemu_plugin_outs(const char* text);
extern size_t qemu_plugin_tb_n_insns(const struct translated_block* block);
extern void qemu_plugin_register_vcpu_tb_trans_cb(plugin_id id,
                                                  void (*call)(plugin_id,
                                                               struct translated_block*));
extern void qemu_plugin_register_vcpu_tb_exec_inline(struct translated_block* block,
                                                     enum inline_operation operation, void* counter,
                                                     uint64_t operand);
extern void qemu_plugin_register_vcpu_syscall_cb(
    plugin_id id, void (*call)(plugin_id, unsigned, int64_t, uint64_t, uint64_t, uint64_t, uint64_t,
                               uint64_t, uint64_t, uint64_t, uint64_t));

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

static uint64_t executed;

static void count_block(plugin_id id, struct translated_block* block) {
  (void)id;
  qemu_plugin_register_vcpu_tb_exec_inline(block, add_to_counter, &executed,
                                           qemu_plugin_tb_n_insns(block));
}

static void print_at_mark(plugin_id id, unsigned cpu, int64_t number, uint64_t a, uint64_t b,
                          uint64_t c, uint64_t d, uint64_t e, uint64_t f, uint64_t g, uint64_t h) {
  enum { getppid_of_aarch64 = 173 };
  (void)id, (void)cpu, (void)a, (void)b, (void)c, (void)d, (void)e, (void)f, (void)g, (void)h;
  if (number != getppid_of_aarch64) return;
  char line[32];
  snprintf(line, sizeof line, "%" PRIu64 "\n", executed);
  qemu_plugin_outs(line);
}

__attribute__((visibility("default"))) int qemu_plugin_install(plugin_id id,
                                                               const struct emulator_info* info,
                                                               int count, char** arguments) {
  (void)info, (void)count, (void)arguments;
  qemu_plugin_register_vcpu_tb_trans_cb(id, count_block);
  qemu_plugin_register_vcpu_syscall_cb(id, print_at_mark);
  return 0;
}
