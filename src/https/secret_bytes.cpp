// SPDX-License-Identifier: Apache-2.0

#include "https/secret_bytes.h"

#include <openssl/crypto.h>

#include <array>

namespace vorn {

void wipe(void *memory, std::size_t bytes) noexcept
{
    OPENSSL_cleanse(memory, bytes);
}

void wipe(QByteArray &bytes) noexcept
{
    if (bytes.isDetached())
        wipe(bytes.data(), std::size_t(bytes.size()));
    bytes = {};
}

void wipeShared(QString &text) noexcept
{
    if (text.capacity() > 0)
        wipe(const_cast<QChar *>(text.constData()), std::size_t(text.size()) * sizeof(QChar));
    text = QString();
}

[[gnu::noinline]] void wipeStack() noexcept
{
    // Requests take about a tenth of this.
    constexpr std::size_t depth = std::size_t{128} * 1024;
    std::array<char, depth> below; // NOLINT(cppcoreguidelines-pro-type-member-init): for its place
    wipe(below.data(), below.size());
}

SecretBytes secretBytes(std::initializer_list<QByteArrayView> parts)
{
    std::size_t size = 0;
    for (const QByteArrayView part : parts)
        size += std::size_t(part.size());
    SecretBytes bytes;
    bytes.reserve(size);
    for (const QByteArrayView part : parts)
        bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}

} // namespace vorn
