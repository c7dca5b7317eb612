// SPDX-License-Identifier: MIT
// output_format.h - the formats in which blocks are written. A new one is a row here and its
// writer.

#ifndef EZOSSL_TOOL_OUTPUT_FORMAT_H
#define EZOSSL_TOOL_OUTPUT_FORMAT_H

#include <memory>

#include "output/block_writer.h"

struct OutputFormat {
    const char *name;
    const char *help; // follows the name in the list of formats
    std::unique_ptr<BlockWriter> (*make)(DataOutput &output, const WriterStyle &style);
    bool has_header; // the first line, for all inputs together
};

// The first is the default.
constexpr OutputFormat kOutputFormats[] = {
    {"table", " (default)", make_table_writer, false},
    {"csv", "", make_csv_writer, true},
    {"jsonl", ": an object per line", make_jsonl_writer, false},
};

#endif
