// SPDX-License-Identifier: MIT
// csv_writer.cpp - blocks as comma-separated values, with one header line for all inputs.

#include <utility>

#include "base/text.h"
#include "output/columns.h"

namespace {

std::string quoted(const std::string &field)
{
    if (field.find_first_of(",\"\r\n") == std::string::npos)
        return field;
    std::string text = "\"";
    for (const char c : field)
        text += c == '"' ? std::string("\"\"") : std::string(1, c);
    return text + '"';
}

// Formats a value as a field.
struct FieldText {
    std::string operator()(std::monostate /*none*/) const { return ""; }
    std::string operator()(const Number &number) const
    {
        return format_text("%.*f", number.decimals, number.value);
    }
    std::string operator()(const std::string &text) const { return quoted(text); }
    std::string operator()(const List &list) const
    {
        std::string field;
        for (const std::optional<int> number : list)
            field += (field.empty() ? "" : " ") + (number ? std::to_string(*number) : "x");
        return field;
    }
};

class CsvWriter : public BlockWriter
{
public:
    CsvWriter(DataOutput &output, const WriterStyle &style)
        : output_(output), columns_(columns_for(style))
    {
    }

    void begin(const InputInfo &input) override { name_ = quoted(input.name); }

    void write(const Block &block, const std::vector<int> &delays) override
    {
        begin_once();
        std::string line = name_;
        for (const Column &column : columns_)
            line += ',' + std::visit(FieldText(), column.value({block, delays}));
        output_.print("%s\n", line.c_str());
    }

    void end(const Summary & /*summary*/) override { begin_once(); }

private:
    // An input without a block still gives the header, but a refused one gives nothing.
    void begin_once()
    {
        if (std::exchange(has_begun_, true))
            return;
        std::string line = kInputColumn;
        for (const Column &column : columns_)
            line += std::string(",") + column.name;
        output_.print("%s\n", line.c_str());
    }

    DataOutput &output_;
    std::vector<Column> columns_;
    std::string name_;
    bool has_begun_ = false;
};

} // namespace

std::unique_ptr<BlockWriter> make_csv_writer(DataOutput &output, const WriterStyle &style)
{
    return std::make_unique<CsvWriter>(output, style);
}
