/* SPDX-License-Identifier: MIT
 * faulty_device.c - a capture device for ALSA that fails as its configuration says; what is not
 * given does not fail:
 *
 *   pcm.NAME { type faulty  refuse ERRNO  fault ERRNO  after FRAMES  forever 1
 *              rate HZ  channels COUNT  bits COUNT }
 *
 * It refuses to open, or has the fault once (or for ever) after so many frames. Until then there is
 * always sound, noise that is two samples later on each odd channel than on the one before.
 */

#include <alsa/asoundlib.h>
#include <alsa/pcm_external.h>

#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum { REFUSE, FAULT, AFTER, FOREVER, RATE, CHANNELS, BITS, SETTINGS };
static const char *const names[SETTINGS] = {"refuse", "fault",    "after", "forever",
                                            "rate",   "channels", "bits"};
enum { CHUNK = 160, LEAD = 2 };

struct device {
    snd_pcm_ioplug_t io;
    long settings[SETTINGS];
    long frames; /* delivered */
};

static int stay(snd_pcm_ioplug_t *io)
{
    (void)io;
    return 0;
}

static snd_pcm_sframes_t point(snd_pcm_ioplug_t *io)
{
    return (snd_pcm_sframes_t)((io->appl_ptr + CHUNK) % io->buffer_size);
}

static int16_t noise(long n)
{
    const uint32_t mixed = ((uint32_t)n ^ 0x5bd1e995u) * 2654435761u;
    return (int16_t)(((mixed ^ mixed >> 15) * 2246822519u) >> 19);
}

static snd_pcm_sframes_t deliver(snd_pcm_ioplug_t *io, const snd_pcm_channel_area_t *areas,
                                 snd_pcm_uframes_t offset, snd_pcm_uframes_t size)
{
    struct device *device = io->private_data;
    const long fault = device->settings[FAULT];
    if (fault != 0 && device->frames >= device->settings[AFTER]) {
        device->settings[FAULT] *= device->settings[FOREVER];
        snd_pcm_ioplug_set_state(io, fault == EPIPE      ? SND_PCM_STATE_XRUN
                                     : fault == ESTRPIPE ? SND_PCM_STATE_SUSPENDED
                                                         : SND_PCM_STATE_DISCONNECTED);
        return -fault;
    }
    for (unsigned channel = 0; channel < io->channels; channel++)
        for (snd_pcm_uframes_t n = 0; n < size; n++) {
            const size_t bit = areas[channel].first + (offset + n) * areas[channel].step;
            const int16_t sample = noise(device->frames + (long)n - LEAD * (channel % 2));
            memcpy((char *)areas[channel].addr + bit / 8, &sample, sizeof sample);
        }
    device->frames += (long)size;
    return (snd_pcm_sframes_t)size;
}

static int wake_not(snd_pcm_ioplug_t *io)
{
    (void)io;
    return -ENOSYS; /* as most devices do: they have to be prepared anew */
}

static int close_device(snd_pcm_ioplug_t *io)
{
    close(io->poll_fd);
    free(io->private_data);
    return 0;
}

static const snd_pcm_ioplug_callback_t callbacks = {.start = stay,
                                                    .stop = stay,
                                                    .pointer = point,
                                                    .transfer = deliver,
                                                    .resume = wake_not,
                                                    .close = close_device};

SND_PCM_PLUGIN_DEFINE_FUNC(faulty)
{
    (void)root;
    struct device *device = calloc(1, sizeof *device);
    for (int i = 0; i < SETTINGS; i++) {
        snd_config_t *setting = NULL;
        if (snd_config_search(conf, names[i], &setting) == 0)
            snd_config_get_integer(setting, &device->settings[i]);
    }
    const long *settings = device->settings;
    if (settings[REFUSE] != 0) {
        const int refusal = (int)-settings[REFUSE];
        free(device);
        return refusal;
    }
    device->io.version = SND_PCM_IOPLUG_VERSION;
    device->io.name = "Faulty device";
    device->io.callback = &callbacks;
    device->io.private_data = device;
    device->io.poll_fd = open("/dev/zero", O_RDONLY | O_CLOEXEC); /* never has to be waited for */
    device->io.poll_events = POLLIN;
    const int error = snd_pcm_ioplug_create(&device->io, name, stream, mode);
    if (error < 0)
        return error;
    const unsigned format = settings[BITS] == 32 ? SND_PCM_FORMAT_S32 : SND_PCM_FORMAT_S16;
    const unsigned channels = settings[CHANNELS] != 0 ? (unsigned)settings[CHANNELS] : 2;
    const unsigned rate = settings[RATE] != 0 ? (unsigned)settings[RATE] : 16000;
    snd_pcm_ioplug_set_param_list(&device->io, SND_PCM_IOPLUG_HW_FORMAT, 1, &format);
    snd_pcm_ioplug_set_param_minmax(&device->io, SND_PCM_IOPLUG_HW_CHANNELS, channels, channels);
    snd_pcm_ioplug_set_param_minmax(&device->io, SND_PCM_IOPLUG_HW_RATE, rate, rate);
    *pcmp = device->io.pcm;
    return 0;
}
SND_PCM_PLUGIN_SYMBOL(faulty);
