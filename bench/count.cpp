// SPDX-License-Identifier: MIT
// count.cpp - calls a case between marks, for count_instructions.c to count its instructions.
//
//   ezossl_count_FFT list           the names of the cases
//   ezossl_count_FFT CASE [CALLS]   CALLS calls of a case (32)
//   ezossl_count_FFT frames CALLS   CALLS different frames, and a direction after each block
//   ezossl_count_FFT nothing        what the marks themselves take
//   ezossl_count_FFT memory         the bytes of an instance, and the bytes of stack that a frame
//                                   and a direction use

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "cases.h"
#include "instance.h"
#include "signals.h"

#if defined(EZOSSL_BENCH_NE10) && !defined(__aarch64__)
#include "fft.h"
#include <ne10/NE10.h>
#endif

namespace {

// As in count_instructions.c.
constexpr long kBegin = 0x42454749;
constexpr long kEnd = 0x454e4421;

template <typename Function>
void counted(Function function)
{
    syscall(SYS_getppid, kBegin);
    function();
    syscall(SYS_getppid, kEnd);
}

void count_case(const Case &measured, long calls)
{
    const Call call = measured.prepare();
    call(); // the first call binds functions of other libraries
    for (long i = 0; i < calls; ++i)
        counted(call);
}

void count_frames(long frames)
{
    Instance instance(0, 16000);
    EndlessSignal signal;
    instance.run(signal.next());
    for (long i = 0; i < frames; ++i) {
        const int16_t *const frame = signal.next();
        counted([&] { instance.run(frame); });
        if (i % Instance::kBlock == 0) {
            int32_t angle = 0;
            EzoSsl_Get_Direction(instance.handle(), &angle);
            EzoSsl_Reset_Mapping(instance.handle());
        }
    }
}

// Ne10 looks for NEON in /proc/cpuinfo, but an emulator shows that of its host.
void assume_neon()
{
#if defined(EZOSSL_BENCH_NE10) && !defined(__aarch64__)
    fft_start(); // chooses once, so that later calls keep this choice
    ne10_init_dsp(NE10_OK);
#endif
}

// ---- Stack ------------------------------------------------------------------------------------

void *do_nothing(void *)
{
    return nullptr;
}

void *run_block(void *data)
{
    auto *const instance = static_cast<Instance *>(data);
    static const std::vector<int16_t> signal = make_signal(Signal::noise);
    for (size_t i = 0; i < Instance::kBlock; ++i)
        instance->run(signal.data() + i * kFrameSamples);
    int32_t angle = 0;
    EzoSsl_Get_Direction(instance->handle(), &angle);
    EzoSsl_Reset_Mapping(instance->handle());
    return nullptr;
}

// Bytes of a thread's stack that `work` has written to.
size_t touched(void *(*work)(void *), void *data)
{
    constexpr size_t kStack = 1 << 20;
    constexpr unsigned char kPaint = 0xa5;
    alignas(4096) static unsigned char stack[kStack];
    std::memset(stack, kPaint, kStack);
    pthread_attr_t attributes;
    pthread_t thread;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, stack, kStack);
    if (pthread_create(&thread, &attributes, work, data) != 0)
        throw std::runtime_error("no thread can be started");
    pthread_join(thread, nullptr);
    size_t untouched = 0;
    while (untouched < kStack && stack[untouched] == kPaint)
        ++untouched;
    return kStack - untouched;
}

void print_memory()
{
    Instance instance(0, 16000);
    run_block(&instance); // the first call binds functions of other libraries, which uses stack
    std::printf("%u %zu\n", EzoSsl_GetBufferSize(),
                touched(run_block, &instance) - touched(do_nothing, nullptr));
}

bool run_command(const std::string &name, long calls)
{
    if (name == "list")
        for (const Case &measured : all_cases())
            std::printf("%s\n", measured.name.c_str());
    else if (name == "frames")
        count_frames(calls);
    else if (name == "nothing")
        count_case({name, [] { return Call([] {}); }}, calls);
    else if (name == "memory")
        print_memory();
    else {
        for (const Case &measured : all_cases())
            if (measured.name == name) {
                count_case(measured, calls);
                return true;
            }
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    constexpr long kCalls = 32;
    assume_neon();
    try {
        const long calls = argc == 3 ? std::strtol(argv[2], nullptr, 10) : kCalls;
        if ((argc == 2 || argc == 3) && calls > 0 && run_command(argv[1], calls))
            return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "ezossl_count: %s\n", error.what());
        return 1;
    }
    std::fprintf(stderr,
                 "usage: ezossl_count_FFT list | memory | nothing | CASE [CALLS] | frames CALLS\n"
                 "`list` prints the names of the cases; CALLS is 1 or more\n");
    return 2;
}
