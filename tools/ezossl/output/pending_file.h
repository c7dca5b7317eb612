// SPDX-License-Identifier: MIT
// pending_file.h - a file that appears whole or not at all, unless it is to grow.

#ifndef EZOSSL_TOOL_PENDING_FILE_H
#define EZOSSL_TOOL_PENDING_FILE_H

#include <string>

#include <sys/types.h>

#include "base/descriptor.h"

// Whether an output of this name is standard output, which cannot be opened by its name: descriptor
// 1 is elsewhere (see DataOutput).
bool is_standard_output(const std::string &name);

// Whether a file is written into: it exists as a device or a pipe, or it is standard output.
bool is_stream(const std::string &name);

// Write to descriptor(), a new file beside the target (beside what a symbolic link leads to) with a
// name that ends in .part; then commit(). Without commit() nothing is left, unless the program is
// killed. A device or a pipe is written to itself.
class PendingFile
{
public:
    enum class Appears {
        whole,   // with commit()
        growing, // at once, in the place of what had the name
    };
    static constexpr int kNoStandardOutput = -1;

    // Refuses what cannot be written to, such as a directory, and what another pending file of this
    // process will become. Standard output is a target if its descriptor is given. A file that
    // grows replaces another at once, so open it last.
    explicit PendingFile(const std::string &target, Appears appears = Appears::whole,
                         int standard_output = kNoStandardOutput);
    ~PendingFile();
    PendingFile(const PendingFile &) = delete;
    PendingFile &operator=(const PendingFile &) = delete;

    const std::string &target() const { return target_; }
    int descriptor() const { return descriptor_; }
    // One more for the same file.
    Descriptor duplicate() const;
    // The whole contents.
    void write(const std::string &text) const;

    // Lets the disk take what was written. After that, commit() can hardly fail.
    void sync();
    // The target keeps its mode and, as far as the user may, its owner.
    void commit();

private:
    // A file that exists has a number of its own; one that does not is a name in a folder.
    struct Place {
        dev_t device;
        ino_t file; // 0 if it does not exist
        dev_t folder_device;
        ino_t folder;
        std::string name;

        bool is_same(const Place &other) const;
    };

    void open_itself(int flags);
    void open_beside();
    void claim();
    [[noreturn]] void fail() const;

    std::string target_;
    std::string path_;         // the target, or where it leads as a symbolic link
    std::string working_path_; // none for what is written to itself
    int descriptor_ = -1;
    bool is_synced_ = false;
    Place place_{};
};

#endif
