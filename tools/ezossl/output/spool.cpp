// SPDX-License-Identifier: MIT
// spool.cpp - makes a temporary file without a name, and reads it in pieces.

#include "output/spool.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "base/failure.h"

namespace {

constexpr size_t kPiece = 65536; // bytes

[[noreturn]] void fail(const std::string &what)
{
    throw Failure(what + std::strerror(errno));
}

} // namespace

Spool::Spool()
{
    const char *const chosen = std::getenv("TMPDIR");
    const std::string folder = chosen != nullptr && *chosen != '\0' ? chosen : "/var/tmp";
    file_ = Descriptor(open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (file_.is_open())
        return;
    // Not every file system has files without a name.
    std::string path = folder + "/ezossl.XXXXXX";
    file_ = Descriptor(mkostemp(path.data(), O_CLOEXEC));
    if (!file_.is_open())
        fail("cannot make a temporary file in " + folder + "; set TMPDIR to another directory: ");
    if (unlink(path.c_str()) != 0)
        fail("cannot remove " + path + ": ");
}

bool Spool::read(bool skip_first_line, const Take &take) const
{
    std::vector<char> piece(kPiece);
    bool is_skipping = skip_first_line;
    for (off_t done = 0;;) {
        const ssize_t count = pread(file_.get(), piece.data(), piece.size(), done);
        if (count < 0)
            fail("cannot read a temporary file: ");
        if (count == 0)
            return done > 0;
        done += count;
        const char *const end = piece.data() + count;
        const char *begin = piece.data();
        if (is_skipping) {
            const void *const line_end = std::memchr(begin, '\n', static_cast<size_t>(count));
            is_skipping = line_end == nullptr;
            begin = is_skipping ? end : static_cast<const char *>(line_end) + 1;
        }
        take(begin, static_cast<size_t>(end - begin));
    }
}
