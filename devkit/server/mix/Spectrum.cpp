// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/mix/Spectrum.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <new>
#include <numbers>

namespace cabinaudio::server {
namespace {

struct FftwFree {
    void operator()(void* memory) const { fftwf_free(memory); }
};

/// The mean of its squares is 1, so it preserves the power of a steady sound.
std::vector<float> makeWindow(std::size_t size) {
    std::vector<float> window(size);
    const double step = 2 * std::numbers::pi / static_cast<double>(size);
    for (std::size_t i = 0; i < size; ++i) {
        const double hann = 0.5 - 0.5 * std::cos(step * static_cast<double>(i));
        window[i] = static_cast<float>(hann / std::sqrt(0.375));
    }
    return window;
}

}  // namespace

struct Spectrum::Transform {
    explicit Transform(std::size_t size)
        : in(fftwf_alloc_real(size)), out(fftwf_alloc_complex(size / 2 + 1)) {
        if (!in || !out) throw std::bad_alloc();
        plan = fftwf_plan_dft_r2c_1d(static_cast<int>(size), in.get(), out.get(), FFTW_ESTIMATE);
        if (plan == nullptr) throw std::bad_alloc();
    }
    ~Transform() { fftwf_destroy_plan(plan); }
    Transform(const Transform&) = delete;
    Transform& operator=(const Transform&) = delete;

    std::unique_ptr<float, FftwFree> in;
    std::unique_ptr<fftwf_complex, FftwFree> out;
    fftwf_plan plan;
};

Spectrum::Spectrum(std::size_t size)
    : mWindow(makeWindow(size)),
      mTransform(std::make_unique<Transform>(size)),
      mPowers(size / 2 + 1) {}

Spectrum::~Spectrum() = default;

std::span<const float> Spectrum::powersOf(std::span<const float> samples) {
    std::transform(samples.begin(), samples.end(), mWindow.begin(), mTransform->in.get(),
                   std::multiplies<>());
    fftwf_execute(mTransform->plan);
    const auto size = static_cast<float>(mWindow.size());
    for (std::size_t i = 0; i < mPowers.size(); ++i) {
        // All other frequencies have a mirror image that is not computed.
        const bool isAlone = i == 0 || i + 1 == mPowers.size();
        const float* const bin = mTransform->out.get()[i];
        mPowers[i] = (isAlone ? 1.0F : 2.0F) * (bin[0] * bin[0] + bin[1] * bin[1]) / (size * size);
    }
    return mPowers;
}

}  // namespace cabinaudio::server
