// SPDX-License-Identifier: MIT
// sound_file.h - a file of libsndfile that closes itself.

#ifndef EZOSSL_TOOL_SOUND_FILE_H
#define EZOSSL_TOOL_SOUND_FILE_H

#include <memory>

#include <sndfile.h>

struct CloseSoundFile {
    void operator()(SNDFILE *file) const { sf_close(file); }
};
using SoundFile = std::unique_ptr<SNDFILE, CloseSoundFile>;

#endif
