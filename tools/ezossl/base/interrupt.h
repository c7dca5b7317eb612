// SPDX-License-Identifier: MIT
// interrupt.h - Ctrl-C and the like: asked for between two pieces of work, so that nothing
// half-written is left behind.

#ifndef EZOSSL_TOOL_INTERRUPT_H
#define EZOSSL_TOOL_INTERRUPT_H

// From now on the signals that ask the program to end are counted, and a reader that goes away
// shows as a write error.
void watch_for_interrupts();

// Signals so far.
int interrupts();

// An interrupt also ends this descriptor: whoever waits to read from it finds its end. For pipes,
// which may deliver nothing for ever.
void end_on_interrupt(int descriptor);

#endif
