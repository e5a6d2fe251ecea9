// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <complex>
#include <cstddef>
#include <memory>
#include <vector>

namespace cabinaudio::hear {

/// Fourier transforms of real data of one size, by FFTW. Not for several threads at once; plans are
/// made and destroyed under a lock, as FFTW requires.
class Fourier {
public:
    /// @param size  at least 1; products of small primes are fast
    explicit Fourier(std::size_t size);
    ~Fourier();
    Fourier(const Fourier&) = delete;
    Fourier& operator=(const Fourier&) = delete;

    /// @param data  of `size` values
    /// @return size / 2 + 1 values
    [[nodiscard]] std::vector<std::complex<float>> forward(const std::vector<float>& data) const;
    /// The inverse, not divided by the size.
    [[nodiscard]] std::vector<float> backward(const std::vector<std::complex<float>>& data) const;

private:
    struct Plans;
    std::size_t mSize;
    std::unique_ptr<Plans> mPlans;
};

}  // namespace cabinaudio::hear
