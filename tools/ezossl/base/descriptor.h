// SPDX-License-Identifier: MIT
// descriptor.h - an open file that closes itself.

#ifndef EZOSSL_TOOL_DESCRIPTOR_H
#define EZOSSL_TOOL_DESCRIPTOR_H

#include <utility>

#include <unistd.h>

class Descriptor
{
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    Descriptor(Descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor()
    {
        if (number_ >= 0)
            close(number_);
    }

    int get() const { return number_; }
    int release() { return std::exchange(number_, -1); }
    bool is_open() const { return number_ >= 0; }

private:
    int number_;
};

#endif
