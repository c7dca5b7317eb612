// SPDX-License-Identifier: MIT
// file_signature.h - recognises a kind of file by its first bytes, for refusals that tell the user
// what to do.

#ifndef EZOSSL_TOOL_FILE_SIGNATURE_H
#define EZOSSL_TOOL_FILE_SIGNATURE_H

#include <cstddef>
#include <string_view>

struct FileSignature {
    size_t offset; // of the bytes
    std::string_view bytes;
    const char *name; // "a FLAC file"
    bool is_readable; // by libsndfile
};

constexpr size_t kSignatureBytes = 2048; // enough to recognise every kind

// nullptr if no kind of file is known to begin like this.
const FileSignature *find_signature(std::string_view start);

#endif
