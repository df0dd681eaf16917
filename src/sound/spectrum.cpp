// SPDX-License-Identifier: Apache-2.0

#include "sound/spectrum.h"

#include <QtGlobal>

#include <kiss_fftr.h>

#include <algorithm>
#include <new>

namespace vorn {
namespace {

// The library's complex numbers are pairs of floats, as are those of the language.
static_assert(sizeof(kiss_fft_cpx) == sizeof(std::complex<float>));

/// The next even size that has no prime factors but 2, 3 and 5, which the library does fast.
std::size_t fastSize(std::size_t values)
{
    return std::size_t(kiss_fftr_next_fast_size_real(int(std::max<std::size_t>(values, 4))));
}

kiss_fftr_state *prepared(std::size_t size, bool inverse)
{
    kiss_fftr_state *const state = kiss_fftr_alloc(int(size), inverse ? 1 : 0, nullptr, nullptr);
    if (!state)
        throw std::bad_alloc();
    return state;
}

} // namespace

void RealTransform::Free::operator()(kiss_fftr_state *state) const noexcept
{
    kiss_fftr_free(state);
}

RealTransform::RealTransform(std::size_t values)
    : m_size(fastSize(values)),
      m_forward(prepared(m_size, false)),
      m_inverse(prepared(m_size, true))
{
}

RealTransform::~RealTransform() = default;
RealTransform::RealTransform(RealTransform &&) noexcept = default;
RealTransform &RealTransform::operator=(RealTransform &&) noexcept = default;

Spectrum RealTransform::forward(std::span<const float> values) const
{
    Q_ASSERT(values.size() <= m_size);
    std::vector<float> padded(m_size);
    std::ranges::copy(values, padded.begin());
    Spectrum spectrum(bins());
    kiss_fftr(m_forward.get(), padded.data(), reinterpret_cast<kiss_fft_cpx *>(spectrum.data()));
    return spectrum;
}

std::vector<float> RealTransform::inverse(const Spectrum &spectrum) const
{
    Q_ASSERT(spectrum.size() == bins());
    std::vector<float> values(m_size);
    kiss_fftri(m_inverse.get(), reinterpret_cast<const kiss_fft_cpx *>(spectrum.data()),
               values.data());
    return values;
}

} // namespace vorn
