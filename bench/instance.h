// SPDX-License-Identifier: MIT
// instance.h - an instance of the library, set up for frames.

#ifndef EZOSSL_BENCH_INSTANCE_H
#define EZOSSL_BENCH_INSTANCE_H

#include <cstdint>
#include <stdexcept>
#include <vector>

#include "EzoSsl.h"

class Instance
{
public:
    static constexpr int32_t kBlock = 32; // frames

    Instance(int32_t bf_mode, int32_t rate) : init_{EZOSSL_FRAME_LENGTH, rate, 5.8f, bf_mode, 2}
    {
        set_up();
    }

    // All calls from Init on; may be called again.
    void set_up()
    {
        const SslConfig config = {20, -80, kBlock};
        handle_ = EzoSsl_Init(buffer_.data(), &init_);
        if (handle_ == nullptr || EzoSsl_Config(handle_, &config) != EZOSSL_OK ||
            EzoSsl_Set_Shape(handle_, 0) != EZOSSL_OK || EzoSsl_Cal_Params(handle_) != EZOSSL_OK)
            throw std::runtime_error("the library refuses to be set up, see its message");
    }

    void run(const int16_t *frame)
    {
        if (EzoSsl_Run(handle_, frame, &delay_) != EZOSSL_OK)
            throw std::runtime_error("the library refuses a frame, see its message");
    }

    SslHandle *handle() const { return handle_; }

private:
    SslInit init_;
    std::vector<int32_t> buffer_ =
        std::vector<int32_t>((EzoSsl_GetBufferSize() + sizeof(int32_t) - 1) / sizeof(int32_t));
    SslHandle *handle_ = nullptr;
    int32_t delay_ = 0;
};

#endif
