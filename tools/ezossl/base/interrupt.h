// SPDX-License-Identifier: MIT
// interrupt.h - Ctrl-C and other signals that end the program. They are checked between two pieces
// of work, so that no output is left half-written.

#ifndef EZOSSL_TOOL_INTERRUPT_H
#define EZOSSL_TOOL_INTERRUPT_H

// From now on the signals that ask the program to end are counted, and a reader that goes away
// or a file that may not grow shows as a write error.
void watch_for_interrupts();

// From now on they end the program at once: in a process of which nothing is left then.
void stop_watching_for_interrupts();

// Signals so far.
int interrupts();

// Ends the program, without a message, if there was one.
void end_if_interrupted();

// On an interrupt this descriptor reads as end of file, so that a blocked read returns. For pipes,
// which may never deliver anything.
void end_on_interrupt(int descriptor);

#endif
