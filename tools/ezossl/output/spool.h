// SPDX-License-Identifier: MIT
// spool.h - a file without a name, in which text waits until it is its turn to be printed.

#ifndef EZOSSL_TOOL_SPOOL_H
#define EZOSSL_TOOL_SPOOL_H

#include <cstddef>
#include <functional>

#include "base/descriptor.h"

class Spool
{
public:
    // In the directory TMPDIR, or in /var/tmp, which is on a disk where /tmp is in memory.
    Spool();

    // To write to.
    int descriptor() const { return file_.get(); }

    using Take = std::function<void(const char *bytes, size_t count)>;
    // The text from the beginning, in pieces, if wanted without its first line. False if it is
    // empty.
    bool read(bool skip_first_line, const Take &take) const;

private:
    Descriptor file_;
};

#endif
