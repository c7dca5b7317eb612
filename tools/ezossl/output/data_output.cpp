// SPDX-License-Identifier: MIT
// data_output.cpp - takes standard output away from the library, and writes results to it.

#include "output/data_output.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "base/failure.h"
#include "base/text.h"

DataOutput::DataOutput()
{
    const int descriptor = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (descriptor < 0)
        fail();
    file_ = fdopen(descriptor, "w");
    if (file_ == nullptr)
        fail();
    // By line, so that messages keep their place among those of the tool.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    show_library_messages(true);
}

DataOutput::~DataOutput()
{
    std::fclose(file_);
}

void DataOutput::redirect(const std::string &path)
{
    pending_.emplace(path);
    target_ = path;
    write_to(fdopen(pending_->duplicate(), "w"));
}

void DataOutput::grow(const std::string &path)
{
    target_ = path;
    write_to(std::fopen(path.c_str(), "we"));
}

void DataOutput::write_to(std::FILE *file)
{
    if (file == nullptr)
        fail();
    std::fclose(file_);
    file_ = file;
}

void DataOutput::print(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int written = std::vfprintf(file_, format, arguments);
    va_end(arguments);
    if (written < 0)
        fail();
}

void DataOutput::flush()
{
    if (std::fflush(file_) != 0)
        fail();
}

void DataOutput::finish()
{
    flush();
    if (pending_)
        pending_->commit();
}

bool DataOutput::is_terminal() const
{
    return isatty(fileno(file_)) != 0;
}

int DataOutput::columns() const
{
    winsize size{};
    const bool is_known = ioctl(fileno(file_), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return is_known ? size.ws_col : static_cast<int>(kTextWidth);
}

void DataOutput::fail() const
{
    if (errno == EPIPE)
        throw EndWith{128 + SIGPIPE};
    throw Failure("cannot write to " + target_ + ": " + std::strerror(errno));
}

void show_library_messages(bool show)
{
    std::fflush(stdout);
    const int target = show ? STDERR_FILENO : open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (target < 0)
        throw Failure(std::string("cannot open /dev/null: ") + std::strerror(errno));
    const bool is_done = dup2(target, STDOUT_FILENO) >= 0;
    const int error = errno;
    if (!show)
        close(target);
    if (!is_done)
        throw Failure(std::string("cannot keep messages apart: ") + std::strerror(error));
}
