/* SPDX-License-Identifier: MIT
 * faulty_device.c - a capture device for ALSA that fails as its configuration says, and otherwise
 * works:
 *
 *   pcm.NAME { type faulty  refuse ERRNO  fault ERRNO  after FRAMES  again FRAMES  forever 1
 *              wakes 1  rate HZ  slower HZ  channels COUNT  bits COUNT  padded 1  waits 1 }
 *
 * It has one rate or two. Samples of 24 bits have three bytes, or four if they are padded. It
 * refuses to open, or has the fault after that many frames: once, again after every `again` more,
 * or for ever. With both `again` and `forever` the second fault lasts for ever. After a suspend it
 * must be prepared again, unless it wakes: then it goes on, and must not be prepared. Until the
 * fault it has sound, at once or, if it waits, every 10 ms: noise that is two samples later on each
 * odd channel than on the previous one.
 */

#include <alsa/asoundlib.h>
#include <alsa/pcm_external.h>

#include <fcntl.h>
#include <time.h>

enum { REFUSE, FAULT, AFTER, AGAIN, FOREVER, WAKES, RATE, SLOWER, CHANNELS, BITS, PADDED, WAITS };
enum { ALL = WAITS + 1, CHUNK = 160, LEAD = 2 };
static const char *const names[ALL] = {"refuse", "fault",  "after",    "again", "forever", "wakes",
                                       "rate",   "slower", "channels", "bits",  "padded",  "waits"};

static snd_pcm_ioplug_t device; /* the only one of a process */
static long settings[ALL] = {[RATE] = 16000, [CHANNELS] = 2, [BITS] = 16};
static long delivered; /* frames */

static int stay(snd_pcm_ioplug_t *io)
{
    (void)io;
    return 0;
}

static int wake(snd_pcm_ioplug_t *io)
{
    if (settings[WAKES] == 0)
        return -ENOSYS; /* like most devices */
    settings[WAKES] = -1;
    return snd_pcm_ioplug_set_state(io, SND_PCM_STATE_RUNNING);
}

static int prepare(snd_pcm_ioplug_t *io)
{
    (void)io;
    return settings[WAKES] < 0 ? -EBUSY : 0;
}

static snd_pcm_sframes_t point(snd_pcm_ioplug_t *io)
{
    return (snd_pcm_sframes_t)((io->appl_ptr + CHUNK) % io->buffer_size);
}

static int16_t noise(long n)
{
    const uint32_t mixed = ((uint32_t)n ^ 0x5bd1e995u) * 2654435761u;
    return (int16_t)((int)(((mixed ^ mixed >> 15) * 2246822519u) >> 19) - 4096);
}

static snd_pcm_sframes_t deliver(snd_pcm_ioplug_t *io, const snd_pcm_channel_area_t *areas,
                                 snd_pcm_uframes_t offset, snd_pcm_uframes_t size)
{
    nanosleep(&(struct timespec){0, 10000000 * settings[WAITS]}, NULL);
    const long fault = settings[FAULT];
    if (fault != 0 && delivered >= settings[AFTER]) {
        if (settings[AGAIN] == 0)
            settings[FAULT] *= settings[FOREVER];
        settings[AFTER] += settings[AGAIN];
        settings[AGAIN] *= settings[FOREVER] == 0;
        snd_pcm_ioplug_set_state(io, fault == EPIPE      ? SND_PCM_STATE_XRUN
                                     : fault == ESTRPIPE ? SND_PCM_STATE_SUSPENDED
                                                         : SND_PCM_STATE_DISCONNECTED);
        return -fault;
    }
    for (unsigned channel = 0; channel < io->channels; ++channel)
        for (snd_pcm_uframes_t n = 0; n < size; ++n) {
            const size_t bit = areas[channel].first + (offset + n) * areas[channel].step;
            unsigned char *sample = (unsigned char *)areas[channel].addr + bit / 8;
            const int value = noise(delivered + (long)n - (channel % 2 ? LEAD : 0));
            for (long i = settings[BITS] / 8; i > 2; i--)
                *sample++ = 0x7f; /* no part of the noise */
            sample[0] = (unsigned char)(value & 0xff);
            sample[1] = (unsigned char)(value >> 8 & 0xff);
        }
    delivered += (long)size;
    return (snd_pcm_sframes_t)size;
}

static const snd_pcm_ioplug_callback_t callbacks = {.start = stay,
                                                    .stop = stay,
                                                    .resume = wake,
                                                    .prepare = prepare,
                                                    .pointer = point,
                                                    .transfer = deliver};

SND_PCM_PLUGIN_DEFINE_FUNC(faulty);
SND_PCM_PLUGIN_DEFINE_FUNC(faulty)
{
    (void)root;
    for (int i = 0; i < ALL; ++i) {
        snd_config_t *setting = NULL;
        if (snd_config_search(conf, names[i], &setting) == 0)
            snd_config_get_integer(setting, &settings[i]);
    }
    device.version = SND_PCM_IOPLUG_VERSION;
    device.name = "Faulty device";
    device.callback = &callbacks;
    device.poll_fd = open("/dev/zero", O_RDONLY | O_CLOEXEC); /* always has something to read */
    device.poll_events = POLLIN;
    const int error = settings[REFUSE] != 0 ? (int)-settings[REFUSE]
                                            : snd_pcm_ioplug_create(&device, name, stream, mode);
    if (error < 0)
        return error;
    const unsigned format = settings[BITS] == 16    ? SND_PCM_FORMAT_S16_LE
                            : settings[PADDED] != 0 ? SND_PCM_FORMAT_S24_LE
                            : settings[BITS] == 24  ? SND_PCM_FORMAT_S24_3LE
                            : settings[BITS] == 32  ? SND_PCM_FORMAT_S32_LE
                                                    : SND_PCM_FORMAT_MU_LAW;
    const unsigned channels = (unsigned)settings[CHANNELS];
    const unsigned rates[] = {(unsigned)settings[RATE], (unsigned)settings[SLOWER]};
    snd_pcm_ioplug_set_param_list(&device, SND_PCM_IOPLUG_HW_FORMAT, 1, &format);
    snd_pcm_ioplug_set_param_minmax(&device, SND_PCM_IOPLUG_HW_CHANNELS, channels, channels);
    snd_pcm_ioplug_set_param_list(&device, SND_PCM_IOPLUG_HW_RATE, rates[1] != 0 ? 2 : 1, rates);
    *pcmp = device.pcm;
    return 0;
}
/* SND_PCM_PLUGIN_SYMBOL() has an extra semicolon, of which clang warns. */
SND_DLSYM_BUILD_VERSION(SND_PCM_PLUGIN_ENTRY(faulty), SND_PCM_DLSYM_VERSION)
