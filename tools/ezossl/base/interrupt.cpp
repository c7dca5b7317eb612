// SPDX-License-Identifier: MIT
// interrupt.cpp - counts signals, in a handler that does only what handlers may do.

#include "base/interrupt.h"

#include <cerrno>
#include <csignal>
#include <initializer_list>

#include <fcntl.h>
#include <unistd.h>

#include "base/failure.h"

namespace {

// Lock-free, as a signal handler needs it.
volatile std::sig_atomic_t count = 0;
volatile std::sig_atomic_t descriptor_to_end = -1;
volatile std::sig_atomic_t nowhere = -1;

extern "C" void count_interrupt(int)
{
    const int saved = errno;
    count = count + 1;
    if (descriptor_to_end >= 0 && nowhere >= 0)
        dup2(nowhere, descriptor_to_end);
    errno = saved;
}

void handle_interrupts(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler; // without SA_RESTART, so that blocked calls return
    for (const int signal : {SIGINT, SIGTERM})
        sigaction(signal, &action, nullptr);
    struct sigaction previous = {};
    sigaction(SIGHUP, nullptr, &previous);
    if (previous.sa_handler != SIG_IGN) // under nohup the program outlives its terminal
        sigaction(SIGHUP, &action, nullptr);
}

} // namespace

void watch_for_interrupts()
{
    nowhere = open("/dev/null", O_RDONLY | O_CLOEXEC);
    handle_interrupts(count_interrupt);
}

void stop_watching_for_interrupts()
{
    handle_interrupts(SIG_DFL);
}

int interrupts()
{
    return count;
}

void end_if_interrupted()
{
    if (count > 0)
        throw EndWith{kInterrupted};
}

void end_on_interrupt(int descriptor)
{
    descriptor_to_end = descriptor;
}
