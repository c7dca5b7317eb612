/* SPDX-License-Identifier: MIT
 * header_example_main.c - runs the example of the public header, which the build extracts: a second
 * of noise that reaches microphone 0 two samples later. */

#include "EzoSsl.h"

void follow_sound(int (*next_frame)(int16_t *frame));

static int next_frame(int16_t *frame)
{
    static unsigned long state = 1;
    static int16_t late[2];
    static int left = 128;
    int n;
    for (n = 0; n < EZOSSL_FRAME_LENGTH; ++n) {
        state = (state * 1103515245UL + 12345UL) & 0x7fffffffUL;
        frame[2 * n] = late[0];
        frame[2 * n + 1] = (int16_t)((long)(state >> 16) - 16384);
        late[0] = late[1];
        late[1] = frame[2 * n + 1];
    }
    return left-- > 0;
}

int main(void)
{
    follow_sound(next_frame);
    return 0;
}
