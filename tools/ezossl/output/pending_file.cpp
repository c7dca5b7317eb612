// SPDX-License-Identifier: MIT
// pending_file.cpp - writes beside the target and renames; devices and pipes are written to.

#include "output/pending_file.h"

#include <filesystem>

#include <unistd.h>

#include "base/failure.h"

namespace fs = std::filesystem;

namespace {

// Renaming onto a symbolic link would replace the link, not the file behind it.
std::string behind_links(const std::string &target)
{
    std::error_code error;
    if (!fs::is_symlink(target, error))
        return target;
    const fs::path place = fs::weakly_canonical(target, error);
    return error ? target : place.string();
}

} // namespace

PendingFile::PendingFile(const std::string &target)
    : target_(target), place_(behind_links(target)),
      working_path_(place_ + "." + std::to_string(getpid()) + ".part")
{
    if (target.empty())
        throw Failure("the name of the file to write is empty");
    if (target == "-")
        throw UsageFailure("-: this file cannot go to standard output; give it a name");
    std::error_code error;
    const fs::file_status status = fs::status(target, error);
    // Renaming would put a plain file in the place of a device or a pipe: they are written to.
    if (fs::is_character_file(status) || fs::is_fifo(status))
        working_path_ = place_ = target;
    else if (fs::exists(status) && !fs::is_regular_file(status))
        throw Failure(target + ": exists and is not a regular file; choose another name");
}

PendingFile::~PendingFile()
{
    std::error_code ignored;
    if (working_path_ != place_)
        fs::remove(working_path_, ignored);
}

void PendingFile::commit()
{
    if (working_path_ == place_)
        return;
    std::error_code error;
    fs::rename(working_path_, place_, error);
    if (error)
        throw Failure(target_ + ": cannot be written: " + error.message());
}
