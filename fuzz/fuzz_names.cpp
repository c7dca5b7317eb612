// SPDX-License-Identifier: MIT
// fuzz_names.cpp - file names and blocks in CSV, JSON lines and figures: parsing these must give
// what was written. The first line of an input is the name; every eight bytes after it are a block.

#include "base/utf8.h"
#include "output/output_format.h"
#include "plot/plot.h"

#include <cJSON.h>
#include <expat.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void require(bool holds, const std::string &what)
{
    if (holds)
        return;
    std::fprintf(stderr, "fuzz_names: %s\n", what.c_str());
    std::abort();
}

std::vector<Block> blocks_of(const uint8_t *data, size_t size)
{
    std::vector<Block> blocks;
    double start = 0.0;
    for (; size >= 8; data += 8, size -= 8) {
        Block block = {start,
                       start + 0.001 * (1 + data[0]),
                       static_cast<BlockStatus>(data[1] % kStatusCount),
                       data[2] % 181 - 90,
                       data[3],
                       data[4],
                       data[5],
                       data[6] == 255 ? -HUGE_VAL : -0.5 * data[6],
                       data[7] % 2 != 0};
        start = block.end + (data[7] > 200 ? 1e6 : 0.0);
        blocks.push_back(block);
    }
    return blocks;
}

// The text that a writer makes of the blocks.
std::string written(const OutputFormat &format, const std::string &name,
                    const std::vector<Block> &blocks)
{
    static DataOutput output;
    static const int file = memfd_create("output", 0);
    require(ftruncate(file, 0) == 0 && lseek(file, 0, SEEK_SET) == 0, "the file");
    output.grow("/proc/self/fd/" + std::to_string(file));
    const auto writer = format.make(output, {true, false, true, true, false, 9});
    writer->begin({name, {16000, 2, {0, 1}, 0.0}, {{16000, 5.0, 20, -60, 32}, 1.0, {}}});
    Summary summary;
    for (const Block &block : blocks) {
        writer->write(block, {1, EZOSSL_REJECTED_FRAME, -2});
        summary.add(block);
    }
    writer->end(summary);
    output.flush();
    struct stat status = {};
    require(fstat(file, &status) == 0, "the file");
    std::string text(static_cast<size_t>(status.st_size), '\0');
    require(pread(file, text.data(), text.size(), 0) == status.st_size, "the file");
    return text;
}

// Parses records of fields by RFC 4180.
std::vector<std::vector<std::string>> parse_csv(const std::string &text)
{
    std::vector<std::vector<std::string>> records = {{""}};
    bool is_quoted = false;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"' && is_quoted && text[i + 1] == '"')
            records.back().back() += text[i++];
        else if (text[i] == '"')
            is_quoted = !is_quoted;
        else if (!is_quoted && text[i] == ',')
            records.back().emplace_back();
        else if (!is_quoted && text[i] == '\n')
            records.push_back({""});
        else
            records.back().back() += text[i];
    }
    require(!is_quoted, "an open quotation mark");
    records.pop_back();
    return records;
}

// Checks the members of a block by their names; `text` gives a member in the form of CSV.
template <class Text>
void compare(const Block &block, const Text &text)
{
    const auto number = [&](const char *name) { return std::strtod(text(name).c_str(), nullptr); };
    const bool has_angle = block.status == BlockStatus::ok;
    require(std::fabs(number("t_start") - block.start) < 1e-6, "t_start");
    require(std::fabs(number("t_end") - block.end) < 1e-6, "t_end");
    require(text("angle_deg").empty() != has_angle, "angle_deg where there is none");
    require(!has_angle || number("angle_deg") == block.angle, "angle_deg");
    require(text("status") == display_of(block.status).name, "status");
    require(number("frames_agreeing") == block.frames_agreeing, "frames_agreeing");
    require(number("frames_used") == block.frames_used, "frames_used");
    require(number("frames_total") == block.frames_total, "frames_total");
    require(!std::isfinite(block.level) || std::fabs(number("level_dbfs") - block.level) < 0.006,
            "level_dbfs");
}

void check_csv(const std::string &name, const std::vector<Block> &blocks)
{
    const auto records = parse_csv(written(kOutputFormats[1], name, blocks));
    require(records.size() == blocks.size() + 1, "a header and a record per block");
    for (size_t i = 1; i < records.size(); ++i) {
        require(records[i].size() == records[0].size(), "as many fields as columns");
        require(records[i][0] == name, "the name");
        compare(blocks[i - 1], [&](const char *column) {
            const auto at = std::find(records[0].begin(), records[0].end(), column);
            require(at != records[0].end(), column);
            return records[i][static_cast<size_t>(at - records[0].begin())];
        });
        require(records[i].back() == "1 x -2", "frame_delays");
    }
}

void check_json(const std::string &name, const std::vector<Block> &blocks)
{
    const std::string text = written(kOutputFormats[2], name, blocks);
    size_t line = 0;
    for (size_t at = 0; at < text.size(); ++line) {
        const size_t end = text.find('\n', at);
        const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> object(
            cJSON_ParseWithLength(text.data() + at, end - at), cJSON_Delete);
        at = end + 1;
        require(object != nullptr, "an object per line");
        const auto member = [&](const char *key) {
            const cJSON *const item = cJSON_GetObjectItemCaseSensitive(object.get(), key);
            require(item != nullptr, key);
            return cJSON_IsNumber(item) ? std::to_string(item->valuedouble)
                   : cJSON_IsNull(item) ? std::string()
                                        : std::string(item->valuestring);
        };
        require(member("input") == valid_utf8(name), "the name");
        if (line > 0 && line <= blocks.size())
            compare(blocks[line - 1], member);
    }
    require(line == blocks.size() + 2, "a line per block, one before and one after");
}

// Control characters and what is not allowed in XML are replaced.
std::string as_xml_has_it(const std::string &name)
{
    std::string result;
    const std::string valid = valid_utf8(name);
    for (size_t i = 0; i < valid.size(); ++i) {
        const auto byte = static_cast<unsigned char>(valid[i]);
        const bool is_none =
            valid.compare(i, 3, "\xEF\xBF\xBE") == 0 || valid.compare(i, 3, "\xEF\xBF\xBF") == 0;
        if (is_none || (byte < 0x20 && byte != '\t' && byte != '\n') || byte == 0x7F)
            result += kReplacement;
        else
            result += valid[i];
        i += is_none ? 2 : 0;
    }
    return result;
}

struct Title {
    std::string text; // of the whole figure
    bool is_inside = false, is_done = false;
};

void check_figure(Drawing draw, const std::string &name, const std::vector<Block> &blocks)
{
    const std::string svg = draw(blocks, name);
    const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
        XML_ParserCreate("UTF-8"), XML_ParserFree);
    Title title;
    XML_SetUserData(parser.get(), &title);
    XML_SetElementHandler(
        parser.get(),
        [](void *data, const XML_Char *element, const XML_Char **) {
            auto *const read = static_cast<Title *>(data);
            read->is_inside = !read->is_done && std::strcmp(element, "title") == 0;
        },
        [](void *data, const XML_Char *) {
            auto *const read = static_cast<Title *>(data);
            read->is_done = read->is_done || read->is_inside;
            read->is_inside = false;
        });
    XML_SetCharacterDataHandler(parser.get(), [](void *data, const XML_Char *text, int length) {
        auto *const read = static_cast<Title *>(data);
        if (read->is_inside)
            read->text.append(text, static_cast<size_t>(length));
    });
    if (XML_Parse(parser.get(), svg.data(), static_cast<int>(svg.size()), 1) != XML_STATUS_OK)
        require(false,
                std::string("not well formed: ") + XML_ErrorString(XML_GetErrorCode(parser.get())));
    require(title.text == as_xml_has_it(name), "the title is '" + title.text + "'");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const uint8_t *const end = std::find(data, data + size, '\n');
    std::string name(reinterpret_cast<const char *>(data), static_cast<size_t>(end - data));
    std::replace(name.begin(), name.end(), '\0', '\n');
    const size_t used = std::min(size, name.size() + 1);
    const std::vector<Block> blocks = blocks_of(data + used, size - used);
    check_csv(name, blocks);
    check_json(name, blocks);
    check_figure(angle_plot_svg, name, blocks);
    check_figure(angle_rose_svg, name, blocks);
    return 0;
}
