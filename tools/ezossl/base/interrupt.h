// SPDX-License-Identifier: MIT
// interrupt.h - Ctrl-C and other signals that end the program. They are checked between steps of
// the work, so that no output is left half-written.

#ifndef EZOSSL_TOOL_INTERRUPT_H
#define EZOSSL_TOOL_INTERRUPT_H

// From now on, signals that ask the program to end are counted.
void watch_for_interrupts();

// From now on these signals end the process at once: for a process that leaves nothing behind.
void stop_watching_for_interrupts();

// Number of signals so far.
int interrupts();

// Ends the program, without a message, if there was a signal.
void end_if_interrupted();

// On an interrupt this descriptor reads as end of file, so that a blocked read returns. For pipes
// whose writer may never write.
void end_on_interrupt(int descriptor);

#endif
