// SPDX-License-Identifier: MIT
// data_output.h - the results of a command, on the standard output that the user sees or in a file.

#ifndef EZOSSL_TOOL_DATA_OUTPUT_H
#define EZOSSL_TOOL_DATA_OUTPUT_H

#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "output/pending_file.h"

// The library prints its messages to standard output. To keep them apart from the results, this
// takes over standard output and points descriptor 1 elsewhere. Make one, before anything prints.
class DataOutput
{
public:
    DataOutput();
    DataOutput(const DataOutput &) = delete;
    DataOutput &operator=(const DataOutput &) = delete;

    // From now on writes to a file, which appears with finish().
    void redirect(const std::string &path);
    // From now on writes to a file that grows under its own name.
    void grow(const std::string &path);
    // From now on writes to this descriptor, from which another process prints it. Width and
    // colours stay those of the output so far.
    void collect(int descriptor);

    // Failure if the bytes cannot be written, which may show only in flush(). If the reader of a
    // pipe is gone, the program ends without a message.
    void print(const char *format, ...) __attribute__((format(printf, 2, 3)));
    void write(const char *bytes, size_t count);
    void flush();
    // The companions appear with the file.
    void finish(std::vector<PendingFile *> companions = {});
    // Whether the output is a file that appears only with finish().
    bool is_pending() const { return pending_ && !pending_->is_direct(); }

    int descriptor() const;
    bool is_terminal() const { return is_terminal_; }
    // The width of the terminal; kTextWidth if the output is not a terminal.
    int columns() const { return columns_; }

private:
    struct Close {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };
    using Stream = std::unique_ptr<std::FILE, Close>;

    void write_to(Descriptor descriptor);
    [[noreturn]] void fail() const;

    void look();

    Stream file_;
    bool is_terminal_ = false;
    int columns_ = 0;
    std::string target_ = "standard output";
    std::optional<PendingFile> pending_;
};

// Sends the library's messages to standard error from now on, or nowhere.
void show_library_messages(bool show);

// Sends standard error to this descriptor from now on, including the library's messages if they are
// shown.
void send_messages_to(int descriptor);

#endif
