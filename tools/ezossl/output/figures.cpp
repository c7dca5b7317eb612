// SPDX-License-Identifier: MIT
// figures.cpp - keeps the blocks until the end of the input, because a figure shows them all.

#include "output/figures.h"

#include <filesystem>

#include "base/text.h"

namespace {

// The name of the file, and the settings on which the angles depend.
std::string figure_title(const InputInfo &input)
{
    return std::filesystem::path(input.name).filename().string() +
           format_text(", %g cm, %d Hz", input.settings.localizer.spacing_cm,
                       input.settings.localizer.sample_rate);
}

} // namespace

void Figures::add(const std::string &path, Drawing drawing)
{
    if (!path.empty())
        figures_.emplace_back(path, drawing);
}

void Figures::add(const Block &block)
{
    if (!figures_.empty())
        blocks_.push_back(block);
}

void Figures::draw(const InputInfo &input) const
{
    for (const Figure &figure : figures_)
        figure.file.write(figure.svg(blocks_, figure_title(input)));
}

std::vector<PendingFile *> Figures::files()
{
    std::vector<PendingFile *> files;
    for (Figure &figure : figures_)
        files.push_back(&figure.file);
    return files;
}
