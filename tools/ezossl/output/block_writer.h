// SPDX-License-Identifier: MIT
// block_writer.h - blocks as text: a table for people, CSV and JSON lines for programs.

#ifndef EZOSSL_TOOL_BLOCK_WRITER_H
#define EZOSSL_TOOL_BLOCK_WRITER_H

#include <memory>
#include <string>
#include <vector>

#include "input/input_layout.h"
#include "output/data_output.h"
#include "output/summary.h"
#include "tracking/tracker.h"

// The input, and how it is analysed.
struct InputInfo {
    std::string name; // as the user wrote it
    InputLayout layout;
    TrackerSettings settings;
};

class BlockWriter
{
public:
    virtual ~BlockWriter() = default;
    virtual void begin(const InputInfo &) {}
    // A delay for each frame, EZOSSL_REJECTED_FRAME if it has none.
    virtual void write(const Block &block, const std::vector<int> &delays) = 0;
    // A fault that affects the blocks.
    virtual void fault(const std::string & /*name*/, const std::string & /*text*/) {}
    virtual void end(const Summary &) {}
};

struct WriterStyle {
    bool per_frame;
    bool color;
    bool many_inputs; // each is headed by its name
    bool utf8;        // rather than ASCII
    bool live;        // blocks have the time of day and gaps
    int meter_width;  // of the table; 0 is none
};

std::unique_ptr<BlockWriter> make_table_writer(DataOutput &output, const WriterStyle &style);
std::unique_ptr<BlockWriter> make_csv_writer(DataOutput &output, const WriterStyle &style);
std::unique_ptr<BlockWriter> make_jsonl_writer(DataOutput &output, const WriterStyle &style);

#endif
