// SPDX-License-Identifier: MIT
// AudioSslDump.cpp - the input dump.
//
// The modes that open and close the files differ on purpose: Init and Reset open them for any mode
// but 0, Run opens them for 1 only, and Free closes them for 1 only. A closed stream is NULL;
// closing or writing it does nothing. If the disk is full, only samples are lost.

#include "AudioSslDump.h"

#include "AudioSslCheck.h"
#include "KivOs.h"

#include <climits>
#include <cstdlib>
#include <dirent.h>

namespace {

constexpr size_t kPathBytes = 256;
constexpr int32_t kDumpOff = 0;
constexpr int32_t kDumpOn = 1;

// The value of AUDIO_SSL_DUMP as a decimal number, saturating; `absent` if it is not set.
int32_t mode_in_environment(int32_t absent)
{
    const char *const text = KivOsEnvironment("AUDIO_SSL_DUMP");
    if (text == nullptr)
        return absent;
    const long value = std::strtol(text, nullptr, 10);
    return static_cast<int32_t>(value > INT_MAX ? INT_MAX : (value < INT_MIN ? INT_MIN : value));
}

const char *directory()
{
    const char *const named = KivOsEnvironment("AUDIO_DUMP_PATH");
    return named != nullptr ? named : ".";
}

bool fits(int length)
{
    return length >= 0 && static_cast<size_t>(length) < kPathBytes;
}

void close_file(SslDumpFiles *files, uint32_t mic)
{
    if (files->stream[mic] != nullptr)
        std::fclose(files->stream[mic]);
    files->stream[mic] = nullptr;
}

void close_files(SslDumpFiles *files)
{
    for (uint32_t mic = 0; mic < kMicCount; ++mic)
        close_file(files, mic);
}

// Opens an empty file for every microphone. Each stream that is open from another mode is closed
// just before, as the new file may have the same name. Stops at the first file that cannot be
// opened; the other streams stay open.
bool open_files(SslHandle *handle, const char *tag)
{
    for (uint32_t mic = 0; mic < kMicCount; ++mic) {
        close_file(&handle->dump_files, mic);
        char path[kPathBytes];
        const int length = std::snprintf(path, sizeof path, "%s/Audio_SSL_input_data%d.pcm",
                                         directory(), static_cast<int>(mic));
        FILE *const stream = fits(length) ? std::fopen(path, "wb") : nullptr;
        handle->dump_files.stream[mic] = stream;
        if (stream == nullptr) {
            ssl_print(handle->msg_level, kMsgError,
                      "[SSL] [%s] Fail! The dump input file %d could not be open\n", tag,
                      static_cast<int>(mic));
            return false;
        }
    }
    return true;
}

bool directory_exists(SslHandle *handle, const char *tag)
{
    char path[kPathBytes];
    const int length = std::snprintf(path, sizeof path, "%s/", directory());
    DIR *const opened = fits(length) ? opendir(path) : nullptr;
    if (opened == nullptr) {
        ssl_print(handle->msg_level, kMsgError, "[SSL][%s]Fail! Dump path %s doesn't exist!\t\n",
                  tag, path);
        return false;
    }
    closedir(opened);
    return true;
}

} // namespace

bool ssl_dump_set_up(SslHandle *handle, const char *tag)
{
    handle->dump_mode = mode_in_environment(kDumpOff);
    if (handle->dump_mode == kDumpOff)
        return true;
    return directory_exists(handle, tag) && open_files(handle, tag);
}

bool ssl_dump_update(SslHandle *handle)
{
    if (KivOsEnvironment("AUDIO_SSL_DUMP") == nullptr) {
        // dump_mode keeps its value, so this repeats with every frame, which is harmless.
        if (handle->dump_mode == kDumpOn)
            close_files(&handle->dump_files);
        return true;
    }
    const int32_t mode = mode_in_environment(kDumpOff);
    if (mode == handle->dump_mode)
        return true;
    handle->dump_mode = mode;
    if (mode == kDumpOn)
        return open_files(handle, "Run");
    if (mode == kDumpOff)
        close_files(&handle->dump_files);
    else
        ssl_print(handle->msg_level, kMsgError, "[SSL] [Run] Fail! [%s] Dump export error\t\n",
                  "EzoSsl_Run");
    return true;
}

void ssl_dump_write(SslHandle *handle)
{
    if (handle->dump_mode == kDumpOff)
        return;
    for (uint32_t mic = 0; mic < kMicCount; ++mic) {
        FILE *const stream = handle->dump_files.stream[mic];
        if (stream != nullptr)
            std::fwrite(handle->input_pcm[mic], sizeof(int16_t),
                        static_cast<size_t>(handle->point_number), stream);
    }
}

void ssl_dump_free(SslHandle *handle)
{
    if (mode_in_environment(kDumpOff) == kDumpOn)
        close_files(&handle->dump_files);
}
