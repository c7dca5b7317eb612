// SPDX-License-Identifier: MIT
// random_numbers.h - a private sequence of rand(). The library draws from rand(), which the whole
// process shares, so without this one localizer would change the angles of another.

#ifndef EZOSSL_TOOL_RANDOM_NUMBERS_H
#define EZOSSL_TOOL_RANDOM_NUMBERS_H

#include <cstdint>
#include <cstdlib>

// As from srand(1).
class RandomNumbers
{
public:
    RandomNumbers() { setstate(initstate(1, bytes(), sizeof state_)); }
    RandomNumbers(const RandomNumbers &) = delete;
    RandomNumbers &operator=(const RandomNumbers &) = delete;

    // While it exists, rand() draws from these.
    class Use
    {
    public:
        explicit Use(RandomNumbers &numbers) : before_(setstate(numbers.bytes())) {}
        ~Use() { setstate(before_); }
        Use(const Use &) = delete;
        Use &operator=(const Use &) = delete;

    private:
        char *before_;
    };

private:
    char *bytes() { return reinterpret_cast<char *>(state_); }

    int32_t state_[32]; // the size that srand() uses, so that the sequence is the same
};

#endif
