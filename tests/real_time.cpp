// SPDX-License-Identifier: MIT
// real_time.cpp - what an audio thread relies on. Run, Get_Direction and Reset_Mapping use no heap,
// take no mutex, make no system call, and need a bounded stack. Init frees all its heap memory, and
// takes none with the built-in FFT and without a level file.

#include "SslCore.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>

namespace {
int heap_calls = 0, heap_blocks = 0, locks = 0, failures = 0;
bool heap_empty = false;
} // namespace

#if !defined(__SANITIZE_ADDRESS__) && !defined(EZOSSL_ADDRESS_SANITIZER)
constexpr bool kCounts = true;
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {
void *__libc_realloc(void *block, size_t bytes);
void *__libc_calloc(size_t count, size_t bytes);
void __libc_free(void *block);
static void *allocate(void *before, size_t bytes)
{
    ++heap_calls;
    void *const block = heap_empty ? nullptr : __libc_realloc(before, bytes);
    heap_blocks += before == nullptr && block != nullptr;
    return block;
}
void *malloc(size_t bytes)
{
    return allocate(nullptr, bytes);
}
void *realloc(void *before, size_t bytes)
{
    return allocate(before, bytes);
}
void *calloc(size_t count, size_t bytes)
{
    ++heap_calls;
    void *const block = heap_empty ? nullptr : __libc_calloc(count, bytes);
    heap_blocks += block != nullptr;
    return block;
}
void free(void *block)
{
    heap_blocks -= block != nullptr;
    __libc_free(block);
}
int pthread_mutex_lock(pthread_mutex_t *)
{
    ++locks;
    return 0;
}
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
#else
constexpr bool kCounts = false; // the sanitizer uses heap, locks and larger stack frames itself
#endif

namespace {

void expect(bool holds, const char *what, long measured)
{
    std::printf("%s %s (%ld)\n", holds ? "ok    " : "FAILED", what, measured);
    failures += !holds;
}

// ---- The calls of an audio thread -----------------------------------------------------------

constexpr int kFrames = 32;
alignas(8) char buffer[EZOSSL_BUFFER_BYTES];
SslHandle *ssl;
int16_t sounds[5][256];
int accepted, rejected, answered;

void set_up(int32_t bf_mode)
{
    const SslInit init = {128, 48000, 14.3f, bf_mode, 2};
    const SslConfig config = {17, -60, kFrames};
    ssl = EzoSsl_Init(buffer, &init);
    EzoSsl_Config(ssl, &config);
    EzoSsl_Set_Shape(ssl, 0);
    EzoSsl_Cal_Params(ssl);
}

// Noise with a delay, independent noise, full scale, and silence twice, because the first silent
// frame still has the last samples of the sound before it.
void make_sounds()
{
    uint32_t state = 1;
    for (int n = 0; n < 256; ++n) {
        sounds[0][n] = static_cast<int16_t>((state = state * 1664525u + 1013904223u) >> 17);
        sounds[1][n] = static_cast<int16_t>((state = state * 1664525u + 1013904223u) >> 17);
        sounds[2][n] = n % 12 < 6 ? INT16_MAX : INT16_MIN;
    }
    for (int n = 8; n < 128; ++n)
        sounds[0][2 * n + 1] = sounds[0][2 * (n - 4)];
}

// Runs a block of each sound.
void run_blocks()
{
    for (const auto &sound : sounds) {
        for (int frame = 0; frame < kFrames; ++frame) {
            int32_t delay = 0;
            EzoSsl_Run(ssl, sound, &delay);
            accepted += delay != EZOSSL_REJECTED_FRAME;
            rejected += delay == EZOSSL_REJECTED_FRAME;
        }
        if (ssl->bf_mode == 1)
            continue;
        int32_t angle = 0;
        const int32_t code = EzoSsl_Get_Direction(ssl, &angle);
        answered |= code == EZOSSL_OK ? 1 : code == EZOSSL_TOO_QUIET ? 2 : 4;
        EzoSsl_Reset_Mapping(ssl);
    }
}

// ---- Stack ----------------------------------------------------------------------------------

constexpr size_t kStackBytes = 65536;
constexpr unsigned char kPaint = 0xa5;
alignas(16) unsigned char stack[kStackBytes];
ucontext_t caller, thread;

// The bytes of its own stack that the work touches.
long stack_of(void (*work)())
{
    std::memset(stack, kPaint, sizeof stack);
    getcontext(&thread);
    thread.uc_stack.ss_sp = stack;
    thread.uc_stack.ss_size = sizeof stack;
    thread.uc_link = &caller;
    makecontext(&thread, work, 0);
    swapcontext(&caller, &thread);
    size_t untouched = 0;
    while (untouched < sizeof stack && stack[untouched] == kPaint)
        ++untouched;
    return static_cast<long>(sizeof stack - untouched);
}

void nothing()
{
}

// ---- System calls ---------------------------------------------------------------------------

// Runs the work in a process that the kernel ends at any system call but read, write and exit. -1
// if there is no such mode, as under an emulator.
int run_without_system_calls()
{
    if (prctl(PR_GET_SECCOMP) < 0)
        return -1;
    const pid_t child = fork();
    if (child == 0) {
        if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT) != 0)
            _exit(3);
        run_blocks();
        syscall(SYS_exit, 0); // exit() of the C library makes another call
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status))
        return WEXITSTATUS(status) == 3 ? -1 : WEXITSTATUS(status);
    return 128 + WTERMSIG(status);
}

} // namespace

int main(int argc, char **argv)
{
    setenv("DML_PATH", "/dev/null/none", 1);
    make_sounds();
    std::printf("\n"); // allocates the buffer of standard output
    const SslInit first = {128, 48000, 14.3f, 0, 2};
    heap_empty = true;
    const bool made = EzoSsl_Init(buffer, &first) != nullptr;
    heap_empty = false;
    const bool is_builtin = argc > 1;
    expect(!kCounts || made == is_builtin, "Init without heap", made);

    setenv("DML_PATH", argv[0], 1); // any file, whose contents need memory for a while
    for (const int32_t bf_mode : {0, 1}) {
        const int blocks = heap_blocks;
        set_up(bf_mode);
        expect(!kCounts || heap_blocks == blocks, "blocks left by Init", heap_blocks - blocks);
        run_blocks(); // the dynamic linker binds the functions
        accepted = rejected = answered = 0;
        heap_calls = locks = 0;
        run_blocks();
        expect(heap_calls == 0, "heap calls", heap_calls);
        expect(locks == 0, "mutexes locked", locks);
        expect(accepted > 0 && (bf_mode == 1 || rejected > 0), "frames accepted", accepted);
        expect(bf_mode == 1 || answered == 7, "kinds of answers", answered);
        const long bytes = stack_of(run_blocks) - stack_of(nothing);
        expect(!kCounts || (bytes > 100 && bytes < 2048), "bytes of stack", bytes);
        const int status = run_without_system_calls();
        if (status < 0)
            std::printf("not checked: system calls, because there is no seccomp\n");
        else
            expect(!kCounts || status == 0, "end without a system call", status);
    }
    return failures == 0 ? 0 : 1;
}
