/* SPDX-License-Identifier: MIT
 * environment_probe.c - makes an instance, to show what Init takes from the environment: the
 * message level and the dump. First prints whether the process has more rights than its caller. */

#include "EzoSsl.h"

#include <stdio.h>
#include <sys/auxv.h>

static uint32_t buffer[EZOSSL_BUFFER_BYTES / 4];

int main(void)
{
    const SslInit init = {EZOSSL_FRAME_LENGTH, 16000, 5.0f, 0, EZOSSL_MIC_COUNT};
    SslHandle *ssl;
    printf("more rights: %lu\n", getauxval(AT_SECURE));
    ssl = EzoSsl_Init(buffer, &init);
    return ssl == NULL ? 1 : (int)EzoSsl_Free(ssl);
}
