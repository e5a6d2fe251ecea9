// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Fourier.h"

#include <fftw3.h>

#include <algorithm>
#include <mutex>

namespace cabinaudio::hear {
namespace {

struct Free {
    void operator()(void* memory) const { fftwf_free(memory); }
};

/// FFTW's planner is one for the process.
std::mutex& plannerLock() {
    static std::mutex lock;
    return lock;
}

}  // namespace

struct Fourier::Plans {
    explicit Plans(std::size_t size)
        : real(fftwf_alloc_real(size)), bins(fftwf_alloc_complex(size / 2 + 1)) {
        const std::lock_guard lock(plannerLock());
        const int count = static_cast<int>(size);
        forward = fftwf_plan_dft_r2c_1d(count, real.get(), bins.get(), FFTW_ESTIMATE);
        backward = fftwf_plan_dft_c2r_1d(count, bins.get(), real.get(), FFTW_ESTIMATE);
    }
    ~Plans() {
        const std::lock_guard lock(plannerLock());
        fftwf_destroy_plan(forward);
        fftwf_destroy_plan(backward);
    }
    Plans(const Plans&) = delete;
    Plans& operator=(const Plans&) = delete;

    std::unique_ptr<float, Free> real;
    std::unique_ptr<fftwf_complex, Free> bins;
    fftwf_plan forward;
    fftwf_plan backward;
};

Fourier::Fourier(std::size_t size) : mSize(size), mPlans(std::make_unique<Plans>(size)) {}

Fourier::~Fourier() = default;

std::vector<std::complex<float>> Fourier::forward(const std::vector<float>& data) const {
    std::copy_n(data.begin(), mSize, mPlans->real.get());
    fftwf_execute(mPlans->forward);
    std::vector<std::complex<float>> result(mSize / 2 + 1);
    for (std::size_t i = 0; i < result.size(); ++i)
        result[i] = {mPlans->bins.get()[i][0], mPlans->bins.get()[i][1]};
    return result;
}

std::vector<float> Fourier::backward(const std::vector<std::complex<float>>& data) const {
    for (std::size_t i = 0; i < mSize / 2 + 1; ++i) {
        mPlans->bins.get()[i][0] = data[i].real();
        mPlans->bins.get()[i][1] = data[i].imag();
    }
    fftwf_execute(mPlans->backward);
    return {mPlans->real.get(), mPlans->real.get() + mSize};
}

}  // namespace cabinaudio::hear
