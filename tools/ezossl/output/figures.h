// SPDX-License-Identifier: MIT
// figures.h - the SVG files that an input is drawn into.

#ifndef EZOSSL_TOOL_FIGURES_H
#define EZOSSL_TOOL_FIGURES_H

#include <list>
#include <string>
#include <vector>

#include "output/block_writer.h"
#include "output/pending_file.h"
#include "plot/plot.h"

class Figures
{
public:
    // Opens the file; without a path there is no figure.
    void add(const std::string &path, Drawing drawing);

    void begin() { blocks_.clear(); }
    void add(const Block &block);
    void draw(const InputInfo &input) const;
    // To be committed; otherwise the figures do not appear.
    std::vector<PendingFile *> files();

private:
    struct Figure {
        Figure(const std::string &path, Drawing drawing) : file(path), svg(drawing) {}

        PendingFile file;
        Drawing svg;
    };

    std::list<Figure> figures_;
    std::vector<Block> blocks_; // all blocks of the input, if there are figures
};

#endif
