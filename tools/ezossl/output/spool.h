// SPDX-License-Identifier: MIT
// spool.h - a file without a name, which holds text until it can be printed.

#ifndef EZOSSL_TOOL_SPOOL_H
#define EZOSSL_TOOL_SPOOL_H

#include <cstddef>
#include <functional>

#include "base/descriptor.h"

class Spool
{
public:
    // In the directory TMPDIR, or in /var/tmp, which is on a disk even if /tmp is in memory.
    Spool();

    // For writing.
    int descriptor() const { return file_.get(); }

    using Take = std::function<void(const char *bytes, size_t count)>;
    // Passes on the text from the beginning, in pieces, without its first line if so wanted. False
    // if it is empty.
    bool read(bool skip_first_line, const Take &take) const;

private:
    Descriptor file_;
};

#endif
