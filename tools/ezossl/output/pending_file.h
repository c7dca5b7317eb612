// SPDX-License-Identifier: MIT
// pending_file.h - an output file that appears whole or not at all, unless it is meant to grow.

#ifndef EZOSSL_TOOL_PENDING_FILE_H
#define EZOSSL_TOOL_PENDING_FILE_H

#include <string>
#include <vector>

#include <sys/types.h>

#include "base/descriptor.h"

// Whether an output of this name is standard output: -, or whatever leads to /dev/stdout. It cannot
// be opened by that name because descriptor 1 leads elsewhere (see DataOutput).
bool is_standard_output(const std::string &name);

// Whether a file is written to directly: it exists as a device or a pipe, or is an open descriptor
// such as /dev/stderr.
bool is_stream(const std::string &name);

// Write to descriptor(), a new file in the folder of the target (or of what a symbolic link leads
// to) with a name that ends in .part; then call commit(). Without commit() nothing is left, unless
// the program is killed. A stream is written to directly.
class PendingFile
{
public:
    enum class Appears {
        whole,   // with commit()
        growing, // at once, replacing the file that had the name
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
    // Whether what is written cannot be undone: a stream, or a file that grows.
    bool is_direct() const { return working_path_.empty(); }
    int descriptor() const { return descriptor_.get(); }
    // A further descriptor of the same file.
    Descriptor duplicate() const;
    // Writes the whole contents.
    void write(const std::string &text) const;

    // Waits until the contents are on the disk. After that, commit() can hardly fail.
    void sync();
    // The target keeps its mode and, as far as the user may, its owner. Of several files all
    // appear, or none. (On a file system that cannot exchange names, the first ones may stay
    // although a later one fails.)
    static void commit(const std::vector<PendingFile *> &files);

private:
    // Identifies a file by its number if it exists, and otherwise by its name in a folder.
    struct Place {
        dev_t device;
        ino_t file; // 0 if it does not exist
        dev_t folder_device;
        ino_t folder;
        std::string name;

        bool is_same(const Place &other) const;
    };

    Descriptor duplicate_of(int descriptor) const;
    void open_itself(int flags);
    void open_beside();
    void claim();
    void appear(bool is_last);
    void disappear();
    bool rename_to_target(unsigned flags) const;
    bool exchange() const;
    void settle();
    [[noreturn]] void fail() const;

    std::string target_;
    std::string path_;         // the target, or where it leads as a symbolic link
    std::string working_path_; // empty for what is written to directly
    Descriptor descriptor_;
    Descriptor folder_;
    bool is_synced_ = false;
    enum class Undo { nothing, rename, exchange } undo_ = Undo::nothing;
    Place place_{};
};

#endif
