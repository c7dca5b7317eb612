// SPDX-License-Identifier: MIT
// data_output.cpp - takes over standard output from the library, and writes results to it.

#include "output/data_output.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstring>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "base/failure.h"
#include "base/interrupt.h"
#include "base/text.h"

namespace {

bool are_library_messages_shown = true;

} // namespace

DataOutput::DataOutput()
{
    write_to(Descriptor(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)));
    look();
    // Line by line, so that the messages of library and tool keep their order.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    show_library_messages(true);
}

void DataOutput::redirect(const std::string &path)
{
    pending_.emplace(path);
    target_ = path;
    write_to(pending_->duplicate());
    look();
}

void DataOutput::grow(const std::string &path)
{
    pending_.emplace(path, PendingFile::Appears::growing);
    target_ = path;
    write_to(pending_->duplicate());
    look();
}

void DataOutput::collect(int descriptor)
{
    target_ = "a temporary file";
    write_to(Descriptor(fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)));
}

void DataOutput::write_to(Descriptor descriptor)
{
    Stream file(descriptor.is_open() ? fdopen(descriptor.get(), "w") : nullptr);
    if (!file)
        fail();
    descriptor.release();
    file_ = std::move(file);
}

void DataOutput::print(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int written = std::vfprintf(file_.get(), format, arguments);
    va_end(arguments);
    if (written < 0)
        fail();
}

void DataOutput::write(const char *bytes, size_t count)
{
    if (std::fwrite(bytes, 1, count, file_.get()) != count)
        fail();
}

void DataOutput::flush()
{
    if (std::fflush(file_.get()) != 0)
        fail();
}

void DataOutput::finish(std::vector<PendingFile *> companions)
{
    flush();
    if (pending_)
        companions.insert(companions.begin(), &*pending_);
    PendingFile::commit(companions);
}

int DataOutput::descriptor() const
{
    return fileno(file_.get());
}

void DataOutput::look()
{
    is_terminal_ = isatty(fileno(file_.get())) != 0;
    winsize size{};
    const bool is_known = ioctl(fileno(file_.get()), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    columns_ = is_known ? size.ws_col : static_cast<int>(kTextWidth);
}

void DataOutput::fail() const
{
    if (errno == EPIPE)
        throw EndWith{128 + SIGPIPE};
    if (errno == EINTR)
        end_if_interrupted();
    throw WriteFailure("cannot write to " + target_ + ": " + std::strerror(errno));
}

void show_library_messages(bool show)
{
    are_library_messages_shown = show;
    std::fflush(stdout);
    const int target = show ? STDERR_FILENO : open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (target < 0)
        throw Failure(std::string("cannot open /dev/null: ") + std::strerror(errno));
    const bool is_done = dup2(target, STDOUT_FILENO) >= 0;
    const int error = errno;
    if (!show)
        close(target);
    if (!is_done)
        throw Failure(std::string("cannot redirect the messages of the library: ") +
                      std::strerror(error));
}

void send_messages_to(int descriptor)
{
    if (dup2(descriptor, STDERR_FILENO) < 0)
        throw Failure(std::string("cannot collect messages: ") + std::strerror(errno));
    show_library_messages(are_library_messages_shown);
}
