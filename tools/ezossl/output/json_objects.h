// SPDX-License-Identifier: MIT
// json_objects.h - an input as JSON objects, each on one line: its settings, its blocks, its
// summary.

#ifndef EZOSSL_TOOL_JSON_OBJECTS_H
#define EZOSSL_TOOL_JSON_OBJECTS_H

#include <string>
#include <vector>

#include "output/block_writer.h"
#include "output/columns.h"
#include "output/json_object.h"

class JsonObjects
{
public:
    explicit JsonObjects(const WriterStyle &style);

    // The following ones are about the input that began last.
    std::string begin(const InputInfo &input);
    std::string block(const Block &block, const std::vector<int> &delays) const;
    std::string summary(const Summary &summary) const;

    // An object with the members that all objects begin with.
    JsonObject of_type(const char *type) const;

private:
    std::vector<Column> columns_;
    std::string name_;
};

#endif
