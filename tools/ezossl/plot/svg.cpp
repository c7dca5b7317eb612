// SPDX-License-Identifier: MIT
// svg.cpp - the style sheet, and the elements that use it.

#include "plot/svg.h"

#include <charconv>
#include <cmath>
#include <string_view>

#include "base/utf8.h"
#include "tracking/block_status.h"

namespace {

// Viewers that do not know prefers-color-scheme show the light colours. The classes of the statuses
// are inserted from their table.
constexpr const char *kLightStyles = R"(<style>
text{font:12px "Helvetica Neue",Arial,"Liberation Sans",sans-serif;fill:#1f2328}
.title{font-size:16px;font-weight:600}
.minor{fill:#59636e}
.tiny{font-size:11px}
.middle{text-anchor:middle}
.right{text-anchor:end}
.halo{paint-order:stroke;stroke:#fff;stroke-width:3px;stroke-linejoin:round}
.sheet{fill:#fff}
)";
constexpr const char *kLightStrokes = R"(.frame{stroke:#818b98}
.grid{stroke:#dde2e7}
.zero{stroke:#aeb6bf}
.mark{stroke:#0a62b8;stroke-width:5;stroke-linecap:round}
.narrow{stroke-width:3}
.level{stroke:#59636e;stroke-linejoin:round}
)";
constexpr const char *kLightFigures = R"(.sector{fill:#0a62b8;fill-opacity:.75;stroke:#fff}
.median{fill:#bc4c00}
.microphone{fill:#1f2328}
.on{fill:#fff;font-weight:600}
)";
constexpr const char *kDarkStrokes = R"(@media(prefers-color-scheme:dark){
text{fill:#e6edf3}
.minor{fill:#9ea7b3}
.halo{stroke:#0d1117}
.sheet{fill:#0d1117}
.frame{stroke:#768390}
.grid{stroke:#2a313a}
.zero{stroke:#4d5661}
.mark{stroke:#58a6ff}
.level{stroke:#9ea7b3}
)";
constexpr const char *kDarkFigures = R"(.sector{fill:#58a6ff;stroke:#0d1117}
.median{fill:#f0883e}
.microphone{fill:#e6edf3}
.on{fill:#0d1117}
}
</style>
)";

std::string style_sheet()
{
    std::string classes = ".frame,.grid,.mark,.narrow,.level";
    std::string light;
    std::string dark;
    for (const StatusDisplay &row : kStatuses) {
        if (row.status == BlockStatus::ok) // shown as marks, which have their own style
            continue;
        const std::string name = std::string(".") + row.name;
        classes += ',' + name;
        light += name + "{stroke:" + row.light_colour + ";stroke-width:7}\n";
        dark += name + "{stroke:" + row.dark_colour + "}\n";
    }
    return kLightStyles + classes + "{fill:none}\n" + kLightStrokes + light + kLightFigures +
           kDarkStrokes + dark + kDarkFigures;
}

// The characters that no XML document can hold: control characters, and the last two of a plane.
bool is_xml_character(std::string_view character)
{
    const auto first = static_cast<unsigned char>(character.front());
    const bool is_control = (first < 0x20 && first != '\t' && first != '\n') || first == 0x7F;
    return !is_control && character != "\xEF\xBF\xBE" && character != "\xEF\xBF\xBF";
}

std::string escaped(std::string_view character)
{
    switch (character.front()) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    default:
        return std::string(character);
    }
}

std::string place(const char *x_name, const char *y_name, SvgPoint at)
{
    return std::string(" ") + x_name + "=\"" + svg_number(at.x) + "\" " + y_name + "=\"" +
           svg_number(at.y) + '"';
}

std::string start(const char *element, const std::string &style)
{
    return std::string("<") + element + " class=\"" + style + '"';
}

} // namespace

std::string svg_number(double value)
{
    char text[32];
    const double rounded = std::round(value * 10.0) / 10.0 + 0.0; // no -0
    return {text, std::to_chars(text, text + sizeof text, rounded).ptr};
}

std::string xml_text(const std::string &text)
{
    std::string result;
    const std::string valid = valid_utf8(text);
    for (std::string_view rest = valid; !rest.empty();) {
        const std::string_view character = leading_character(rest);
        result += is_xml_character(character) ? escaped(character) : std::string(kReplacement);
        rest.remove_prefix(character.size());
    }
    return result;
}

SvgPath &SvgPath::move(SvgPoint to)
{
    data_ += 'M' + svg_number(to.x) + ' ' + svg_number(to.y);
    return *this;
}

SvgPath &SvgPath::line(SvgPoint to)
{
    data_ += 'L' + svg_number(to.x) + ' ' + svg_number(to.y);
    return *this;
}

SvgPath &SvgPath::across(double width)
{
    data_ += 'h' + svg_number(width);
    return *this;
}

SvgPath &SvgPath::arc(double radius, bool clockwise, SvgPoint to)
{
    const std::string length = svg_number(radius);
    data_ += 'A' + length + ' ' + length + (clockwise ? " 0 0 1 " : " 0 0 0 ") + svg_number(to.x) +
             ' ' + svg_number(to.y);
    return *this;
}

SvgPath &SvgPath::close()
{
    data_ += 'z';
    return *this;
}

SvgDrawing::SvgDrawing(double width, double height, const std::string &title,
                       const std::string &description)
{
    const std::string size = svg_number(width) + ' ' + svg_number(height);
    document_ = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + size + "\" width=\"" +
                svg_number(width) + "\" height=\"" + svg_number(height) +
                "\" role=\"img\" aria-labelledby=\"title desc\">\n<title id=\"title\">" +
                xml_text(title) + "</title>\n<desc id=\"desc\">" + xml_text(description) +
                "</desc>\n" + style_sheet() +
                "<rect class=\"sheet\" width=\"100%\" height=\"100%\"/>\n";
}

void SvgDrawing::line(const std::string &style, SvgPoint from, SvgPoint to)
{
    document_ += start("line", style) + place("x1", "y1", from) + place("x2", "y2", to) + "/>\n";
}

void SvgDrawing::circle(const std::string &style, SvgPoint centre, double radius)
{
    document_ += start("circle", style) + place("cx", "cy", centre) + " r=\"" + svg_number(radius) +
                 "\"/>\n";
}

void SvgDrawing::path(const std::string &style, const SvgPath &path, const std::string &tooltip)
{
    if (path.empty())
        return;
    document_ += start("path", style) + " d=\"" + path.data() + '"';
    if (tooltip.empty())
        document_ += "/>\n";
    else
        document_ += "><title>" + xml_text(tooltip) + "</title></path>\n";
}

void SvgDrawing::text(const std::string &style, SvgPoint at, const std::string &text)
{
    document_ += start("text", style) + place("x", "y", at) + '>' + xml_text(text) + "</text>\n";
}

void SvgDrawing::text_upwards(const std::string &style, SvgPoint at, const std::string &text)
{
    document_ += start("text", style) + " transform=\"translate(" + svg_number(at.x) + ' ' +
                 svg_number(at.y) + ") rotate(-90)\">" + xml_text(text) + "</text>\n";
}

std::string SvgDrawing::finished() const
{
    return document_ + "</svg>\n";
}
