// SPDX-License-Identifier: MIT
// jsonl_writer.cpp - a JSON object per line.

#include "output/json_objects.h"

namespace {

class JsonlWriter : public BlockWriter
{
public:
    JsonlWriter(DataOutput &output, const WriterStyle &style) : output_(output), objects_(style) {}

    void begin(const InputInfo &input) override { print(objects_.begin(input)); }
    void write(const Block &block, const std::vector<int> &delays) override
    {
        print(objects_.block(block, delays));
    }
    void end(const Summary &summary) override { print(objects_.summary(summary)); }

private:
    void print(const std::string &object) { output_.print("%s\n", object.c_str()); }

    DataOutput &output_;
    JsonObjects objects_;
};

} // namespace

std::unique_ptr<BlockWriter> make_jsonl_writer(DataOutput &output, const WriterStyle &style)
{
    return std::make_unique<JsonlWriter>(output, style);
}
