// SPDX-License-Identifier: MIT
// columns.h - the values of a block for programs: the columns of CSV and the members of JSON.
// A new column is a row of kColumns in columns.cpp, and the function that finds its value.

#ifndef EZOSSL_TOOL_COLUMNS_H
#define EZOSSL_TOOL_COLUMNS_H

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "output/block_writer.h"

struct Number {
    double value;
    int decimals;
};
using List = std::vector<std::optional<int>>;                          // integers, some missing
using Value = std::variant<std::monostate, Number, std::string, List>; // monostate is no value

// A block, as the writers get it.
struct BlockRow {
    const Block &block;
    const std::vector<int> &delays;
};

// The column of the input's name, first in each line of CSV and each object of JSON.
constexpr char kInputColumn[] = "input";

// In the order of CSV.
struct Column {
    const char *name;
    Value (*value)(const BlockRow &row);
    bool WriterStyle::*only_if = nullptr; // nullptr is always
};

// The columns of this style.
std::vector<Column> columns_for(const WriterStyle &style);

#endif
