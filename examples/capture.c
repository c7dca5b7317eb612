/* SPDX-License-Identifier: MIT
 *
 * capture - prints the direction of the sound at two microphones on an ALSA device, until the
 * device or the output fails.
 *
 *   DML_PATH=errors.json capture hw:1,0 5.8
 *
 * docs/alsa.md explains each step. Standard output: a line per block; the library's messages go
 * there too, unless a level file suppresses them.
 */
#include <alsa/asoundlib.h>
#include <errno.h>
#include <fcntl.h>
#include <soxr.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include "EzoSsl.h"

enum {
    RATE = 16000, /* Hz; best for speech */
    BLOCK_FRAMES = 32,
    FRAME = EZOSSL_FRAME_LENGTH * EZOSSL_MIC_COUNT,
    LONGEST = 6 * FRAME, /* samples of a period at the highest rate */
    PATIENCE = 25        /* failed reads in a row */
};
static const unsigned rates[] = {16000, 48000, 32000, 96000, 44100};
static const snd_pcm_format_t formats[] = {SND_PCM_FORMAT_S16, SND_PCM_FORMAT_S32};

static snd_pcm_t *pcm;
static snd_pcm_uframes_t period; /* as long as a frame of the library */
static unsigned rate;
static soxr_t converter; /* of rate and format; the same for both channels, to delay them alike */
static SslHandle *ssl;
static int16_t frame[FRAME];
static int filled; /* samples in it */
static int frames; /* in the block */

static void require(int is_good, const char *what, const char *why)
{
    if (!is_good) {
        fprintf(stderr, "capture: %s: %s\n", what, why);
        exit(EXIT_FAILURE);
    }
}

/* Takes the first format and the first rate that the device itself has. */
static void open_microphones(const char *device)
{
    snd_pcm_hw_params_t *wanted;
    snd_pcm_uframes_t buffer;
    soxr_io_spec_t types;
    soxr_error_t failure;
    size_t f = 0, r = 0;
    /* Opens without blocking, to fail at once if the device is in use; reads do wait. */
    int code = snd_pcm_open(&pcm, device, SND_PCM_STREAM_CAPTURE, SND_PCM_NONBLOCK);

    require(code == 0, device, snd_strerror(code));
    snd_pcm_nonblock(pcm, 0);
    snd_pcm_hw_params_alloca(&wanted);
    code = snd_pcm_hw_params_any(pcm, wanted);
    require(code >= 0, device, snd_strerror(code));
    snd_pcm_hw_params_set_rate_resample(pcm, wanted, 0); /* ALSA's own resampling aliases */
    snd_pcm_hw_params_set_access(pcm, wanted, SND_PCM_ACCESS_RW_INTERLEAVED);
    code = snd_pcm_hw_params_set_channels(pcm, wanted, EZOSSL_MIC_COUNT);
    require(code == 0, device, "does not offer 2 channels; pick them with a route device");
    while (f < 2 && snd_pcm_hw_params_set_format(pcm, wanted, formats[f]) != 0)
        ++f;
    require(f < 2, device, "has neither S16 nor S32; put plug before its name: plughw:1,0");
    while (r < 5 && snd_pcm_hw_params_set_rate(pcm, wanted, rates[r], 0) != 0)
        ++r;
    require(r < 5, device, "has no usable sample rate");
    rate = rates[r];
    period = EZOSSL_FRAME_LENGTH * rate / RATE;
    buffer = 64 * period; /* half a second: the longest pause in reading */
    snd_pcm_hw_params_set_period_size_near(pcm, wanted, &period, NULL);
    snd_pcm_hw_params_set_buffer_size_near(pcm, wanted, &buffer);
    code = snd_pcm_hw_params(pcm, wanted);
    require(code == 0, device, snd_strerror(code));
    period = EZOSSL_FRAME_LENGTH * rate / RATE; /* length of reads, whatever the device chose */
    types = soxr_io_spec(f == 0 ? SOXR_INT16_I : SOXR_INT32_I, SOXR_INT16_I);
    types.flags = SOXR_NO_DITHER;
    converter = soxr_create(rate, RATE, EZOSSL_MIC_COUNT, &failure, &types, NULL, NULL);
    require(failure == NULL, "soxr_create", failure);
    fprintf(stderr, "capture: %s: %u Hz, %s\n", device, rate, snd_pcm_format_name(formats[f]));
}

static void open_library(float spacing_cm)
{
    SslInit init = {EZOSSL_FRAME_LENGTH, RATE, spacing_cm, 0, EZOSSL_MIC_COUNT};
    SslConfig config = {20, -60, BLOCK_FRAMES};

    ssl = EzoSsl_Init(malloc(EzoSsl_GetBufferSize()), &init); /* refuses a NULL buffer */
    require(ssl != NULL && EzoSsl_Config(ssl, &config) == EZOSSL_OK &&
                EzoSsl_Set_Shape(ssl, 0) == EZOSSL_OK && EzoSsl_Cal_Params(ssl) == EZOSSL_OK,
            "the library", "refused its settings");
}

static void end_block(void)
{
    int32_t angle;
    int32_t code = EzoSsl_Get_Direction(ssl, &angle);

    if (code == EZOSSL_OK)
        printf("angle %ld degrees\n", (long)angle);
    else
        puts(code == EZOSSL_TOO_QUIET ? "too quiet" : "no clear direction");
    fflush(stdout);
    require(!ferror(stdout), "standard output", strerror(errno));
    EzoSsl_Reset_Mapping(ssl);
    frames = 0;
}

/* After a loss of sound: drops what was collected, because it does not join what follows. */
static void start_over(void)
{
    if (frames > 0) /* before the first Run, the call would be refused, and Run with it */
        EzoSsl_Reset_Mapping(ssl);
    frames = filled = 0;
    soxr_clear(converter);
}

/* Samples of both microphones, in turn, at RATE. */
static void locate(const int16_t *samples, size_t count)
{
    int32_t delay;

    while (count-- > 0) {
        frame[filled++] = *samples++;
        if (filled < FRAME)
            continue;
        filled = 0;
        require(EzoSsl_Run(ssl, frame, &delay) == EZOSSL_OK, "the library", "refused a frame");
        if (++frames == BLOCK_FRAMES)
            end_block();
    }
}

int main(int argc, char **argv)
{
    int32_t raw[LONGEST]; /* S32, or S16 in its first half */
    int16_t samples[LONGEST * EZOSSL_MIC_COUNT];
    soxr_error_t failed;
    size_t count; /* per microphone */
    int failures = 0;

    if (argc != 3 || !(strtof(argv[2], NULL) > 0)) {
        fprintf(stderr, "usage: capture DEVICE SPACING_CM\n");
        return 2;
    }
    /* If it were closed, the device would get descriptor 1, and the angles would go there. */
    require(fcntl(STDOUT_FILENO, F_GETFD) >= 0, "standard output", "is closed");
    open_microphones(argv[1]);
    open_library(strtof(argv[2], NULL));
    for (;;) {
        const int got = (int)snd_pcm_readi(pcm, raw, period); /* waits */
        if (got < 0) { /* overrun or suspend; the next read restarts the device */
            fprintf(stderr, "capture: %s, starting a new block\n",
                    got == -EPIPE ? "overrun" : snd_strerror(got));
            require(snd_pcm_prepare(pcm) == 0, argv[1], "is lost");
            require(++failures < PATIENCE, argv[1], "delivers no sound");
            start_over();
            continue;
        }
        failures = 0;
        failed = soxr_process(converter, raw, (size_t)got, NULL, samples, LONGEST, &count);
        require(failed == NULL, "soxr_process", failed);
        locate(samples, count * EZOSSL_MIC_COUNT);
    }
}
