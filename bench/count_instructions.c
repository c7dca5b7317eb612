/* SPDX-License-Identifier: MIT
 * count_instructions.c - a plugin for QEMU's user-mode emulators: counts the instructions that a
 * program executes between its marks, for any machine. The marks are system calls with kBegin or
 * kEnd as first argument.
 *
 * On exit it writes one line to the file that the argument out= names:
 *   CALLS LEAST MEDIAN MOST PLACE
 * where PLACE is the number of the call that took most, from 0.
 *
 * No package has the header of the emulator's plugin interface, so the parts of version 1 that are
 * used are declared here.
 */

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define EXPORT __attribute__((visibility("default")))

enum { kInlineAdd = 0, kBegin = 0x42454749, kEnd = 0x454e4421 };

struct qemu_plugin_tb; /* a translation block: instructions that run one after another */
typedef void (*on_translation)(uint64_t id, struct qemu_plugin_tb *block);
typedef void (*on_system_call)(uint64_t id, unsigned int cpu, int64_t number, uint64_t a1,
                               uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5, uint64_t a6,
                               uint64_t a7, uint64_t a8);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb *block);
void qemu_plugin_register_vcpu_tb_trans_cb(uint64_t id, on_translation callback);
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb *block, int operation,
                                              void *counter, uint64_t amount);
void qemu_plugin_register_vcpu_syscall_cb(uint64_t id, on_system_call callback);
void qemu_plugin_register_atexit_cb(uint64_t id, void (*callback)(uint64_t id, void *data),
                                    void *data);

EXPORT int qemu_plugin_version = 1;
EXPORT int qemu_plugin_install(uint64_t id, const void *info, int argc, char **argv);

static const char *out_path;
static uint64_t executed;
static uint64_t executed_at_begin;
static uint32_t *counts; /* of each call */
static size_t calls;
static size_t room;

static void count_block(uint64_t id, struct qemu_plugin_tb *block)
{
    (void)id;
    qemu_plugin_register_vcpu_tb_exec_inline(block, kInlineAdd, &executed,
                                             qemu_plugin_tb_n_insns(block));
}

static void note_system_call(uint64_t id, unsigned int cpu, int64_t number, uint64_t a1,
                             uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5, uint64_t a6,
                             uint64_t a7, uint64_t a8)
{
    (void)id, (void)cpu, (void)number, (void)a2, (void)a3, (void)a4, (void)a5, (void)a6, (void)a7,
        (void)a8;
    if (a1 == kBegin)
        executed_at_begin = executed;
    if (a1 != kEnd)
        return;
    if (calls == room) {
        room = 2 * room + 1024;
        counts = realloc(counts, room * sizeof *counts);
        if (counts == NULL)
            abort();
    }
    counts[calls++] = (uint32_t)(executed - executed_at_begin);
}

static int compare(const void *a, const void *b)
{
    const uint32_t x = *(const uint32_t *)a;
    const uint32_t y = *(const uint32_t *)b;
    return (x > y) - (x < y);
}

static void report(uint64_t id, void *data)
{
    (void)id, (void)data;
    FILE *const out = fopen(out_path, "w");
    if (out == NULL || calls == 0) {
        fprintf(stderr, "count_instructions: %s\n",
                out == NULL ? "cannot write the counts" : "the program has set no marks");
        _Exit(1);
    }
    size_t most = 0;
    for (size_t i = 0; i < calls; ++i)
        if (counts[i] > counts[most])
            most = i;
    const size_t place = most;
    qsort(counts, calls, sizeof *counts, compare);
    fprintf(out, "%zu %u %u %u %zu\n", calls, counts[0], counts[calls / 2], counts[calls - 1],
            place);
    fclose(out);
}

int qemu_plugin_install(uint64_t id, const void *info, int argc, char **argv)
{
    (void)info;
    if (argc != 1 || strncmp(argv[0], "out=", 4) != 0) {
        fprintf(stderr, "count_instructions: needs out=FILE\n");
        return 1;
    }
    out_path = strdup(argv[0] + 4);
    qemu_plugin_register_vcpu_tb_trans_cb(id, count_block);
    qemu_plugin_register_vcpu_syscall_cb(id, note_system_call);
    qemu_plugin_register_atexit_cb(id, report, NULL);
    return 0;
}
