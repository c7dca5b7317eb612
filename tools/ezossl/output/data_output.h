// SPDX-License-Identifier: MIT
// data_output.h - the results of a command, on the standard output that the user sees or in a file.

#ifndef EZOSSL_TOOL_DATA_OUTPUT_H
#define EZOSSL_TOOL_DATA_OUTPUT_H

#include <cstdio>
#include <optional>
#include <string>

#include "output/pending_file.h"

// The library prints its messages to standard output. To keep them apart from the results, this
// takes over standard output and points descriptor 1 elsewhere. Make one, before anything prints.
class DataOutput
{
public:
    DataOutput();
    ~DataOutput();
    DataOutput(const DataOutput &) = delete;
    DataOutput &operator=(const DataOutput &) = delete;

    // From now on to a file, which appears with finish().
    void redirect(const std::string &path);
    // From now on to a file that grows under its own name.
    void grow(const std::string &path);

    // Failure if the bytes cannot be written, which may show only in flush(). If the reader of a
    // pipe is gone, the program ends without a message.
    void print(const char *format, ...) __attribute__((format(printf, 2, 3)));
    void flush();
    void finish();

    bool is_terminal() const;
    // Of the terminal; as many as a table may need where there is none.
    int columns() const;

private:
    void write_to(std::FILE *file);
    [[noreturn]] void fail() const;

    std::FILE *file_;
    std::string target_ = "standard output";
    std::optional<PendingFile> pending_;
};

// Where the library's messages go from now on: to standard error, or nowhere.
void show_library_messages(bool show);

#endif
