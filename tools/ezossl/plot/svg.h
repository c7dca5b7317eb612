// SPDX-License-Identifier: MIT
// svg.h - a drawing as an SVG document: shapes with the classes of one style sheet for light and
// dark backgrounds. The caller decides what is drawn where.

#ifndef EZOSSL_TOOL_SVG_H
#define EZOSSL_TOOL_SVG_H

#include <string>

struct SvgPoint {
    double x; // to the right
    double y; // down
};

// Rounded to a tenth of a unit, the same in every locale.
std::string svg_number(double value);

// Text escaped for XML. What XML does not allow (control characters, bytes that are not UTF-8)
// becomes U+FFFD.
std::string xml_text(const std::string &text);

// The outline of a path, step by step.
class SvgPath
{
public:
    SvgPath &move(SvgPoint to);
    SvgPath &line(SvgPoint to);
    SvgPath &across(double width); // to the right
    SvgPath &arc(double radius, bool clockwise, SvgPoint to);
    SvgPath &close();

    bool empty() const { return data_.empty(); }
    const std::string &data() const { return data_; }

private:
    std::string data_;
};

// `style` is one or several classes of the style sheet in svg.cpp, separated by spaces.
class SvgDrawing
{
public:
    // Screen readers read the title and the description.
    SvgDrawing(double width, double height, const std::string &title,
               const std::string &description);

    void line(const std::string &style, SvgPoint from, SvgPoint to);
    void circle(const std::string &style, SvgPoint centre, double radius);
    // An empty path draws nothing. The tooltip appears over the shape.
    void path(const std::string &style, const SvgPath &path, const std::string &tooltip = "");
    void text(const std::string &style, SvgPoint at, const std::string &text);
    void text_upwards(const std::string &style, SvgPoint at, const std::string &text);

    // The whole document.
    std::string finished() const;

private:
    std::string document_;
};

#endif
