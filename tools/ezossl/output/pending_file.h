// SPDX-License-Identifier: MIT
// pending_file.h - a file that appears whole or not at all.

#ifndef EZOSSL_TOOL_PENDING_FILE_H
#define EZOSSL_TOOL_PENDING_FILE_H

#include <string>

// Write to working_path(), beside the target (beside what a symbolic link leads to), then commit().
// Without commit() nothing is left. A device or a pipe is written to itself.
class PendingFile
{
public:
    // Refuses -, which is not a file, and what cannot be written to, such as a directory.
    explicit PendingFile(const std::string &target);
    ~PendingFile();
    PendingFile(const PendingFile &) = delete;
    PendingFile &operator=(const PendingFile &) = delete;

    const std::string &target() const { return target_; }
    const std::string &working_path() const { return working_path_; }
    void commit();

private:
    std::string target_;
    std::string place_; // the target, or where it leads as a symbolic link
    std::string working_path_;
};

#endif
