// SPDX-License-Identifier: MIT
// AudioSslSetup.h - how a buffer becomes an instance; shared by Init and Reset.

#ifndef AUDIO_SSL_SETUP_H
#define AUDIO_SSL_SETUP_H

#include "SslCore.h"

#include <cstdint>

// Sets the record's address of the FFT working memory, which follows it in the buffer.
void ssl_carve(SslHandle *handle, int32_t level);

// The whole of Init. `tag` names the caller, "Init" or "Reset", in messages.
SslHandle *ssl_set_up(void *working_buffer, const SslInit *ssl_init, const char *tag);

#endif
