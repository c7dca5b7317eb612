// SPDX-License-Identifier: MIT
// library_cases.cpp - the library as its users call it, and the steps of a frame.

#include "cases.h"

#include <memory>

#include "SslCore.h"
#include "instance.h"
#include "signals.h"

namespace {

// Calls `step` with one frame of the signal after another.
template <typename Step>
Call for_each_frame(Signal kind, Step step)
{
    const auto signal = std::make_shared<const std::vector<int16_t>>(make_signal(kind));
    return [signal, step, frame = size_t{0}]() mutable {
        step(signal->data() + frame * kFrameSamples);
        frame = (frame + 1) % kFrames;
    };
}

template <int32_t bf_mode, int32_t rate, Signal kind = Signal::noise>
Call run()
{
    const auto instance = std::make_shared<Instance>(bf_mode, rate);
    return for_each_frame(kind, [instance](const int16_t *frame) { instance->run(frame); });
}

// A complete block; every call decides again on the same votes.
Call get_direction()
{
    const auto instance = std::make_shared<Instance>(0, 16000);
    const std::vector<int16_t> signal = make_signal(Signal::noise);
    for (size_t frame = 0; frame < Instance::kBlock; ++frame)
        instance->run(signal.data() + frame * kFrameSamples);
    return
        [instance, order = instance->handle()->order, energy_sum = instance->handle()->energy_sum] {
            instance->handle()->order = order;
            instance->handle()->energy_sum = energy_sum;
            int32_t angle = 0;
            EzoSsl_Get_Direction(instance->handle(), &angle);
        };
}

Call set_up()
{
    const auto instance = std::make_shared<Instance>(0, 16000);
    return [instance] { instance->set_up(); };
}

// An instance in the middle of a block.
std::shared_ptr<Instance> busy_instance()
{
    auto instance = std::make_shared<Instance>(0, 16000);
    const std::vector<int16_t> signal = make_signal(Signal::noise);
    for (size_t frame = 0; frame < 4; ++frame)
        instance->run(signal.data() + frame * kFrameSamples);
    return instance;
}

template <void (*step)(SslHandle *)>
Call stage()
{
    return [instance = busy_instance()] { step(instance->handle()); };
}

template <void (*step)(SslHandle *, int32_t *)>
Call delay_stage()
{
    return [instance = busy_instance()] {
        int32_t delay = 0;
        step(instance->handle(), &delay);
    };
}

Call reset_mapping()
{
    return [instance = busy_instance()] { EzoSsl_Reset_Mapping(instance->handle()); };
}

Call deinterleave()
{
    return for_each_frame(Signal::noise, [instance = busy_instance()](const int16_t *frame) {
        ssl_deinterleave(instance->handle(), frame);
    });
}

} // namespace

const std::vector<Case> kLibraryCases = {
    {"run/8000", run<0, 8000>},
    {"run/16000", run<0, 16000>},
    {"run/32000", run<0, 32000>},
    {"run/48000", run<0, 48000>},
    {"run_bf_mode_1/8000", run<1, 8000>},
    {"run_bf_mode_1/16000", run<1, 16000>},
    {"run_bf_mode_1/32000", run<1, 32000>},
    {"run_bf_mode_1/48000", run<1, 48000>},
    {"signal/rejected", run<0, 16000, Signal::far_lag>},
    {"signal/silence", run<0, 16000, Signal::silence>},
    {"signal/full_scale", run<0, 16000, Signal::full_scale>},
    {"signal/decay", run<0, 16000, Signal::decay>},
    {"call/get_direction", get_direction},
    {"call/reset_mapping", reset_mapping},
    {"call/set_up", set_up},
    {"stage/deinterleave", deinterleave},
    {"stage/load_frame", stage<ssl_load_frame>},
    {"stage/frame_energy", stage<ssl_frame_energy>},
    {"stage/spectra", stage<ssl_spectra>},
    {"stage/delay_gcc", delay_stage<ssl_delay_gcc>},
    {"stage/delay_amdf", delay_stage<ssl_delay_amdf>},
};
