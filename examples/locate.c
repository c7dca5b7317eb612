/* SPDX-License-Identifier: MIT
 *
 * locate - prints the direction of the sound in a raw stream of two microphones.
 *
 *   arecord -t raw -f S16_LE -c 2 -r 16000 | locate 16000 5.8
 *
 * Standard input: 16-bit samples in the byte order of this machine, microphone 0 first. Standard
 * output: a line per block; the library's own messages go there too, unless a level file (see
 * EzoSsl.h) suppresses them.
 */
#include <stdio.h>
#include <stdlib.h>

#include "EzoSsl.h"

enum { BLOCK_FRAMES = 32 };

static void print_block(SslHandle *ssl, double end_time)
{
    int32_t angle;
    int32_t code = EzoSsl_Get_Direction(ssl, &angle);

    if (code == EZOSSL_OK)
        printf("%8.3f s  angle %ld degrees\n", end_time, (long)angle);
    else if (code == EZOSSL_TOO_QUIET)
        printf("%8.3f s  too quiet\n", end_time);
    else
        printf("%8.3f s  no clear direction\n", end_time);
    fflush(stdout);
    EzoSsl_Reset_Mapping(ssl);
}

static int locate(SslHandle *ssl, int32_t sample_rate)
{
    int16_t frame[EZOSSL_FRAME_LENGTH * EZOSSL_MIC_COUNT];
    const size_t samples = sizeof frame / sizeof frame[0];
    long frames = 0;
    int32_t delay;

    while (fread(frame, sizeof frame[0], samples, stdin) == samples) {
        if (EzoSsl_Run(ssl, frame, &delay) != EZOSSL_OK) {
            fprintf(stderr, "locate: a frame was refused\n");
            return EXIT_FAILURE;
        }
        if (++frames % BLOCK_FRAMES == 0)
            print_block(ssl, (double)frames * EZOSSL_FRAME_LENGTH / sample_rate);
    }
    if (ferror(stdin) || ferror(stdout)) {
        perror("locate: cannot read the stream");
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

int main(int argc, char **argv)
{
    SslInit init = {EZOSSL_FRAME_LENGTH, 0, 0, 0, EZOSSL_MIC_COUNT};
    SslConfig config = {20, -60, BLOCK_FRAMES};
    SslHandle *ssl;
    void *buffer;
    int status = EXIT_FAILURE;

    init.sample_rate = argc == 3 ? (int32_t)strtol(argv[1], NULL, 10) : 0;
    init.mic_distance = argc == 3 ? (float)strtod(argv[2], NULL) : 0;
    if (init.sample_rate <= 0 || !(init.mic_distance > 0)) {
        fprintf(stderr, "usage: locate RATE_HZ SPACING_CM < raw 16-bit stereo\n");
        return 2;
    }
    buffer = malloc(EzoSsl_GetBufferSize());
    ssl = EzoSsl_Init(buffer, &init); /* refuses a NULL buffer, and an unsuitable rate */
    if (ssl && EzoSsl_Config(ssl, &config) == EZOSSL_OK && EzoSsl_Set_Shape(ssl, 0) == EZOSSL_OK &&
        EzoSsl_Cal_Params(ssl) == EZOSSL_OK)
        status = locate(ssl, init.sample_rate);
    else
        fprintf(stderr, "locate: the library refused %s Hz, %s cm\n", argv[1], argv[2]);
    if (ssl)
        EzoSsl_Free(ssl);
    free(buffer);
    return status;
}
