/* SPDX-License-Identifier: MIT
 * faulty_system.c - preloaded into the tool, makes one call fail. FAIL_CALL is its name, FAIL_AT
 * its number, counted from 1, FAIL_ERRNO its error. The names are
 *
 *   json          an allocation of cJSON
 *   malloc        an allocation of any kind, from main() on
 *   read, fork, fsync, fchown, rename
 *                 these functions
 *   sys, sys:N    any system call from main() on, or those with the number N, including those that
 *                 the C library makes by itself (on x86-64). FAIL_SIGNAL is sent before the call;
 *                 without FAIL_ERRNO the call is then made
 *   clock         nothing fails: from this reading on, the time of day is an hour earlier
 *
 * FAIL_REPORT is a file for three numbers: those of such calls, of descriptors that are open after
 * main(), and of the chosen system call. After a crash the library that crashed follows.
 */

#define _GNU_SOURCE
#undef _FORTIFY_SOURCE /* with it read() is inline */
#include <cJSON.h>
#include <dlfcn.h>
#include <errno.h>
#include <execinfo.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

static const char *chosen_call = "";
static long chosen_system_call = -1; /* any */
static long chosen_at;
static long chosen_errno;
static long chosen_signal;
static long count;
static int is_in_main;

static long number(const char *name)
{
    const char *const text = getenv(name);
    return text != NULL ? strtol(text, NULL, 10) : 0;
}

__attribute__((constructor)) static void read_environment(void)
{
    const char *const call = getenv("FAIL_CALL");
    chosen_call = call != NULL ? call : "";
    chosen_at = number("FAIL_AT");
    chosen_errno = number("FAIL_ERRNO");
    chosen_signal = number("FAIL_SIGNAL");
    if (strncmp(chosen_call, "sys:", 4) == 0)
        chosen_system_call = strtol(chosen_call + 4, NULL, 10);
}

static int fails(const char *call)
{
    if (strcmp(chosen_call, call) != 0 || ++count != chosen_at)
        return 0;
    errno = (int)chosen_errno;
    return 1;
}

/* The next definition after this one, as dlsym() returns it: an object pointer, not a function. */
#define NEXT(function)                                                                             \
    static __typeof__(&(function)) next;                                                           \
    if (next == NULL)                                                                              \
    *(void **)&next = dlsym(RTLD_NEXT, #function)

ssize_t read(int descriptor, void *bytes, size_t size)
{
    NEXT(read);
    return fails("read") ? -1 : next(descriptor, bytes, size);
}

pid_t fork(void)
{
    NEXT(fork);
    return fails("fork") ? -1 : next();
}

int fsync(int descriptor)
{
    NEXT(fsync);
    return fails("fsync") ? -1 : next(descriptor);
}

int fchown(int descriptor, uid_t owner, gid_t group)
{
    NEXT(fchown);
    return fails("fchown") ? -1 : next(descriptor, owner, group);
}

int rename(const char *old_name, const char *new_name)
{
    NEXT(rename);
    return fails("rename") ? -1 : next(old_name, new_name);
}

int clock_gettime(clockid_t clock, struct timespec *time)
{
    NEXT(clock_gettime);
    const int result = next(clock, time);
    if (clock == CLOCK_REALTIME && strcmp(chosen_call, "clock") == 0 && ++count >= chosen_at)
        time->tv_sec -= 3600;
    return result;
}

static void *json_malloc(size_t size)
{
    return fails("json") ? NULL : malloc(size);
}

__attribute__((constructor)) static void watch_cjson(void)
{
    cJSON_Hooks hooks = {json_malloc, free};
    cJSON_InitHooks(&hooks);
}

#ifndef __SANITIZE_ADDRESS__ /* the sanitizer has its own heap */
/* The names by which the C library offers its heap to replacements of malloc(). */
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t number, size_t size);
void *__libc_realloc(void *old, size_t size);
void *__libc_memalign(size_t alignment, size_t size);

static int heap_fails(void)
{
    return is_in_main && fails("malloc");
}

void *malloc(size_t size)
{
    return heap_fails() ? NULL : __libc_malloc(size);
}

void *calloc(size_t number_of, size_t size)
{
    return heap_fails() ? NULL : __libc_calloc(number_of, size);
}

void *realloc(void *old, size_t size)
{
    return heap_fails() ? NULL : __libc_realloc(old, size);
}

int posix_memalign(void **result, size_t alignment, size_t size)
{
    *result = heap_fails() ? NULL : __libc_memalign(alignment, size);
    return *result != NULL ? 0 : ENOMEM;
}

void *aligned_alloc(size_t alignment, size_t size)
{
    return heap_fails() ? NULL : __libc_memalign(alignment, size);
}
#endif

#ifdef __x86_64__
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stddef.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>

static long found_system_call = -1;

/* The one place from which the kernel does not trap system calls. */
long call_kernel(long call, long a, long b, long c, long d, long e, long f);
extern const char after_call[];
__asm__(".text\n"
        ".type call_kernel,@function\n"
        "call_kernel:\n"
        "  movq %rdi, %rax\n"
        "  movq %rsi, %rdi\n"
        "  movq %rdx, %rsi\n"
        "  movq %rcx, %rdx\n"
        "  movq %r8, %r10\n"
        "  movq %r9, %r8\n"
        "  movq 8(%rsp), %r9\n"
        "  syscall\n"
        "after_call:\n"
        "  ret\n");

/* Called when main() has ended, and before that where the program may end. Does not use the C
 * library's streams, which may have failed. */
static void write_report(const char *place)
{
    const char *const path = getenv("FAIL_REPORT");
    if (path == NULL)
        return;
    long descriptors = 0;
    for (long descriptor = 0; descriptor < 256; ++descriptor)
        descriptors += call_kernel(SYS_fcntl, descriptor, F_GETFD, 0, 0, 0, 0) >= 0;
    char text[256];
    const int length = snprintf(text, sizeof text, "%ld %ld %ld %s\n", count, descriptors,
                                found_system_call, place);
    const long file =
        call_kernel(SYS_open, (long)path, O_WRONLY | O_CREAT | O_TRUNC, 0600, 0, 0, 0);
    call_kernel(SYS_write, file, (long)text, length, 0, 0, 0);
    call_kernel(SYS_close, file, 0, 0, 0, 0, 0);
}

static void handle_call(int signal, siginfo_t *info, void *context)
{
    (void)signal;
    greg_t *const registers = ((ucontext_t *)context)->uc_mcontext.gregs;
    /* The kernel never refuses these calls, or does not report an error. */
    const int can_fail =
        chosen_errno == 0 || (info->si_syscall != SYS_brk && info->si_syscall != SYS_futex);
    const int is_chosen = can_fail &&
                          (chosen_system_call < 0 || chosen_system_call == info->si_syscall) &&
                          ++count == chosen_at;
    long result = 0;
    if (is_chosen) {
        found_system_call = info->si_syscall;
        write_report("");
    }
    if (is_chosen && chosen_signal != 0)
        call_kernel(SYS_kill, call_kernel(SYS_getpid, 0, 0, 0, 0, 0, 0), chosen_signal, 0, 0, 0, 0);
    /* A descriptor is closed even if that fails. */
    if (!is_chosen || chosen_errno == 0 || info->si_syscall == SYS_close)
        result = call_kernel(info->si_syscall, registers[REG_RDI], registers[REG_RSI],
                             registers[REG_RDX], registers[REG_R10], registers[REG_R8],
                             registers[REG_R9]);
    registers[REG_RAX] = is_chosen && chosen_errno != 0 ? -chosen_errno : result;
}

/* The first caller that is neither in this file nor in the C library, whose memcpy() may have
 * crashed. */
static void handle_crash(int signal)
{
    void *callers[32];
    const int found = backtrace(callers, 32);
    Dl_info place = {.dli_fname = ""};
    for (int i = 0; i < found; ++i)
        if (dladdr(callers[i], &place) != 0 && strstr(place.dli_fname, "/libc.so") == NULL &&
            strstr(place.dli_fname, "faulty_system") == NULL)
            break;
    write_report(place.dli_fname);
    sigaction(signal, &(struct sigaction){.sa_handler = SIG_DFL}, NULL);
}

#define FIELD(field) BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, field))
#define SKIP_IF(value, then, otherwise)                                                            \
    BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, (unsigned)(value), then, otherwise)
#define DECIDE(action) BPF_STMT(BPF_RET | BPF_K, action)

static int trap_system_calls(void)
{
    struct sigaction action = {.sa_sigaction = handle_call, .sa_flags = SA_SIGINFO | SA_NODEFER};
    const unsigned long place = (unsigned long)after_call;
    struct sock_filter filter[] = {
        FIELD(nr), /* those that end a handler, a thread, a program have no result */
        SKIP_IF(SYS_rt_sigreturn, 6, 0),
        SKIP_IF(SYS_exit, 5, 0),
        SKIP_IF(SYS_exit_group, 4, 0),
        FIELD(instruction_pointer),
        SKIP_IF(place, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS,
                 offsetof(struct seccomp_data, instruction_pointer) + sizeof(int)),
        SKIP_IF(place >> 32, 0, 1),
        DECIDE(SECCOMP_RET_ALLOW),
        DECIDE(SECCOMP_RET_TRAP),
    };
    const struct sock_fprog program = {sizeof filter / sizeof filter[0], filter};
    return sigaction(SIGSYS, &action, NULL) == 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

static int (*the_main)(int, char **, char **);

static int watched_main(int argc, char **argv, char **environment)
{
    if (strncmp(chosen_call, "sys", 3) == 0 && !trap_system_calls())
        _exit(77);
    sigaction(SIGSEGV, &(struct sigaction){.sa_handler = handle_crash}, NULL);
    is_in_main = 1;
    const int status = the_main(argc, argv, environment);
    write_report("");
    return status;
}

int __libc_start_main(int (*program)(int, char **, char **), int argc, char **argv,
                      void (*init)(void), void (*fini)(void), void (*linker_fini)(void),
                      void *stack_end)
{
    NEXT(__libc_start_main);
    the_main = program;
    return next(watched_main, argc, argv, init, fini, linker_fini, stack_end);
}
#endif
