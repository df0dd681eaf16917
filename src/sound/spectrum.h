// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <complex>
#include <memory>
#include <span>
#include <vector>

struct kiss_fftr_state;

namespace vorn {

using Spectrum = std::vector<std::complex<float>>;

/// The discrete Fourier transform of real values of one size. One thread at a time.
class RealTransform {
public:
    /// For at least `values` of them.
    explicit RealTransform(std::size_t values);
    ~RealTransform();
    RealTransform(RealTransform &&) noexcept;
    RealTransform &operator=(RealTransform &&) noexcept;

    [[nodiscard]] std::size_t size() const noexcept { return m_size; }
    /// Frequencies, from 0 to half the rate.
    [[nodiscard]] std::size_t bins() const noexcept { return m_size / 2 + 1; }

    /// Of at most size() values, as if zeros followed.
    [[nodiscard]] Spectrum forward(std::span<const float> values) const;
    /// The values times size(), of bins() frequencies.
    [[nodiscard]] std::vector<float> inverse(const Spectrum &spectrum) const;

private:
    struct Free {
        void operator()(kiss_fftr_state *state) const noexcept;
    };
    std::size_t m_size;
    std::unique_ptr<kiss_fftr_state, Free> m_forward;
    std::unique_ptr<kiss_fftr_state, Free> m_inverse;
};

} // namespace vorn
