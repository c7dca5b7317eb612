// SPDX-License-Identifier: MIT
// pending_file.cpp - writes a file next to the target and renames it; writes to devices and pipes
// directly.

#include "output/pending_file.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/failure.h"
#include "base/interrupt.h"

namespace fs = std::filesystem;

namespace {

constexpr int kMostLinks = 40; // as many as Linux follows
constexpr mode_t kModeBits = 07777;
constexpr mode_t kWritable = 0222;
constexpr char kEnding[] = ".XXXXXX.part";
constexpr size_t kLongestName = 255 - (sizeof kEnding - 1);

// Never destroyed, because a pending file that is a static object may be destroyed later.
std::vector<const PendingFile *> &pending_files()
{
    static auto &files = *new std::vector<const PendingFile *>;
    return files;
}

std::string folder_of(const std::string &path)
{
    const std::string folder = fs::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

// The descriptor of this process that a path names, by whatever name its folder is reached.
std::optional<int> descriptor_named(const std::string &path)
{
    std::error_code none_if_missing;
    const auto is_in = [&](const char *folder) {
        return fs::equivalent(folder_of(path), folder, none_if_missing);
    };
    const std::string name = fs::path(path).filename().string();
    int number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error != std::errc() || *end != '\0' ||
        !(is_in("/proc/self/fd") || is_in("/proc/thread-self/fd")))
        return std::nullopt;
    return number;
}

// Renaming onto a symbolic link would replace the link, not the file behind it, which need not
// exist yet. The name of a descriptor is a link, too, but is not followed.
std::string behind_links(const std::string &target)
{
    fs::path path = target;
    std::error_code error;
    for (int i = 0; i < kMostLinks && fs::is_symlink(path, error) && !descriptor_named(path); ++i)
        path = path.parent_path() / fs::read_symlink(path, error);
    return path.string();
}

// Renaming would replace a write-protected file, and root could write to it.
bool is_protected(const std::string &path)
{
    struct stat file = {};
    return stat(path.c_str(), &file) == 0 &&
           ((file.st_mode & kWritable) == 0 ||
            faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0);
}

// The mode of a new file. The mask can be read only by setting it.
mode_t usual_mode()
{
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

} // namespace

bool is_standard_output(const std::string &name)
{
    return name == "-" || descriptor_named(behind_links(name)) == STDOUT_FILENO;
}

bool is_stream(const std::string &name)
{
    std::error_code error;
    const fs::file_status status = fs::status(name, error);
    return name == "-" || descriptor_named(behind_links(name)) || fs::is_character_file(status) ||
           fs::is_fifo(status);
}

PendingFile::PendingFile(const std::string &target, Appears appears, int standard_output)
    : target_(target), path_(behind_links(target))
{
    if (is_standard_output(target)) {
        target_ = "standard output";
        if (standard_output == kNoStandardOutput)
            throw UsageFailure(target + ": this file cannot go to standard output; give it a name");
        descriptor_ = duplicate_of(standard_output);
        return;
    }
    // A new file in its place would lose what the file behind the descriptor already holds.
    if (const std::optional<int> number = descriptor_named(path_)) {
        descriptor_ = duplicate_of(*number);
        return;
    }
    // Renaming would put a plain file in the place of a device or a pipe: they are written to.
    if (is_stream(target)) {
        open_itself(O_WRONLY);
        return;
    }
    std::error_code error;
    const fs::file_status status = fs::status(target, error);
    if (fs::exists(status) && !fs::is_regular_file(status))
        throw Failure(target + ": exists and is not a regular file; choose another name");
    claim();
    if (is_protected(path_))
        throw Failure(target + ": is write-protected; choose another name");
    pending_files().reserve(pending_files().size() + 1); // must not fail once the file exists
    if (appears == Appears::growing)
        open_itself(O_WRONLY | O_CREAT | O_TRUNC);
    else
        open_beside();
    pending_files().push_back(this);
}

PendingFile::~PendingFile()
{
    std::vector<const PendingFile *> &files = pending_files();
    files.erase(std::remove(files.begin(), files.end(), this), files.end());
    if (!working_path_.empty())
        unlink(working_path_.c_str());
}

Descriptor PendingFile::duplicate_of(int descriptor) const
{
    Descriptor copy(fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!copy.is_open())
        fail();
    return copy;
}

void PendingFile::open_itself(int flags)
{
    descriptor_ = Descriptor(open(target_.c_str(), flags | O_CLOEXEC, 0666));
    if (!descriptor_.is_open())
        fail();
}

// The name is unpredictable, and no link is followed.
void PendingFile::open_beside()
{
    struct stat replaced = {};
    const bool exists = stat(path_.c_str(), &replaced) == 0;
    const std::string name = fs::path(path_).filename().string();
    std::string path =
        folder_of(path_) + "/" + (name.size() <= kLongestName ? name : "ezossl") + kEnding;
    constexpr int kSuffix = 5; // ".part"
    descriptor_ = Descriptor(mkostemps(path.data(), kSuffix, O_CLOEXEC));
    if (!descriptor_.is_open())
        fail();
    working_path_ = std::move(path); // a copy may fail without memory, and the file would be left
    // With another owner or group, these bits would grant other rights than they did.
    if (exists && fchown(descriptor(), replaced.st_uid, replaced.st_gid) != 0) {
        replaced.st_mode &= ~mode_t{S_ISUID};
        if (fchown(descriptor(), static_cast<uid_t>(-1), replaced.st_gid) != 0)
            replaced.st_mode &= ~mode_t{S_ISGID};
    }
    // Some file systems have no modes.
    static_cast<void>(fchmod(descriptor(), exists ? replaced.st_mode & kModeBits : usual_mode()));
}

bool PendingFile::Place::is_same(const Place &other) const
{
    return (file != 0 && file == other.file && device == other.device) ||
           (folder == other.folder && folder_device == other.folder_device && name == other.name);
}

void PendingFile::claim()
{
    struct stat file = {};
    struct stat folder = {};
    if (stat(folder_of(path_).c_str(), &folder) != 0)
        fail();
    if (stat(target_.c_str(), &file) != 0) {
        if (errno == ELOOP)
            fail();
        file = {};
    }
    place_ = {file.st_dev, file.st_ino, folder.st_dev, folder.st_ino,
              fs::path(path_).filename().string()};
    for (const PendingFile *const other : pending_files())
        if (place_.is_same(other->place_))
            throw UsageFailure(target_ + ": is the name of two outputs; give each its own");
}

Descriptor PendingFile::duplicate() const
{
    return duplicate_of(descriptor());
}

void PendingFile::write(const std::string &text) const
{
    for (size_t done = 0; done < text.size();) {
        const ssize_t now = ::write(descriptor(), text.data() + done, text.size() - done);
        if (now < 0 && errno != EINTR)
            fail();
        if (now < 0 && working_path_.empty())
            end_if_interrupted(); // a pipe may never get a reader
        done += static_cast<size_t>(std::max<ssize_t>(now, 0));
    }
}

void PendingFile::commit(const std::vector<PendingFile *> &files)
{
    for (PendingFile *const file : files)
        file->sync();
    size_t done = 0;
    try {
        for (; done < files.size(); ++done)
            files[done]->appear(done + 1 == files.size());
    } catch (...) {
        while (done > 0)
            files[--done]->disappear();
        throw;
    }
    for (PendingFile *const file : files)
        file->settle();
}

void PendingFile::sync()
{
    if (is_direct() || is_synced_)
        return;
    // Some file systems cannot do this; then renaming must suffice.
    if (fsync(descriptor()) != 0 && errno != EINVAL && errno != ENOSYS)
        fail();
    folder_ = Descriptor(open(folder_of(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    is_synced_ = true;
}

// If another file can fail after this one, it gets its name in a way that can be undone, as far as
// the file system allows.
void PendingFile::appear(bool is_last)
{
    if (is_direct())
        return;
    if (!is_last && exchange())
        undo_ = Undo::exchange;
    else if (!is_last && rename_to_target(RENAME_NOREPLACE))
        undo_ = Undo::rename;
    else if (std::rename(working_path_.c_str(), path_.c_str()) != 0)
        fail();
}

void PendingFile::disappear()
{
    if (undo_ == Undo::exchange)
        static_cast<void>(rename_to_target(RENAME_EXCHANGE));
    else if (undo_ == Undo::rename)
        static_cast<void>(std::rename(path_.c_str(), working_path_.c_str()));
}

bool PendingFile::rename_to_target(unsigned flags) const
{
    return renameat2(AT_FDCWD, working_path_.c_str(), AT_FDCWD, path_.c_str(), flags) == 0;
}

// Exchanges names with the file that is replaced.
bool PendingFile::exchange() const
{
    if (!rename_to_target(RENAME_EXCHANGE))
        return false;
    struct stat replaced = {};
    if (lstat(working_path_.c_str(), &replaced) == 0 && S_ISREG(replaced.st_mode))
        return true;
    static_cast<void>(rename_to_target(RENAME_EXCHANGE)); // it has become a folder
    return false;
}

void PendingFile::settle()
{
    if (is_direct())
        return;
    // The replaced file, if names were exchanged; the destructor tries again.
    if (unlink(working_path_.c_str()) == 0 || errno == ENOENT)
        working_path_.clear();
    // Puts the name on the disk. An error here is ignored: the file exists.
    if (folder_.is_open())
        static_cast<void>(fsync(folder_.get()));
}

void PendingFile::fail() const
{
    if (errno == EPIPE) // the reader has closed the pipe
        throw EndWith{128 + SIGPIPE};
    if (errno == EINTR) // while a pipe waits for its reader
        end_if_interrupted();
    throw WriteFailure(target_ + ": cannot be written: " + std::strerror(errno));
}
