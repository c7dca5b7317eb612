// SPDX-License-Identifier: MIT
// AudioSslDump.h - the input dump: the samples of each microphone as raw 16-bit PCM files, switched
// by the environment.

#ifndef AUDIO_SSL_DUMP_H
#define AUDIO_SSL_DUMP_H

#include "SslCore.h"

#include <cstdint>

// Reads the dump mode and opens the files if it is not 0. `tag` names the caller in messages.
// False if the directory does not exist or a file cannot be opened.
bool ssl_dump_set_up(SslHandle *handle, const char *tag);

// Follows a change of the environment between frames. False if a file cannot be opened.
bool ssl_dump_update(SslHandle *handle);

// Writes the current frame if the dump is on.
void ssl_dump_write(SslHandle *handle);

// Closes the files at the end of the instance, if AUDIO_SSL_DUMP is exactly 1 then.
void ssl_dump_free(SslHandle *handle);

#endif
