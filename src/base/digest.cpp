// SPDX-License-Identifier: Apache-2.0

#include "base/digest.h"

#include "base/files.h"

#include <QByteArray>

#include <fcntl.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <new>
#include <vector>

using namespace Qt::StringLiterals;

namespace vorn {

struct Sha256::Context {
    EVP_MD_CTX *md = EVP_MD_CTX_new();

    Context() = default;
    Context(const Context &) = delete;
    Context &operator=(const Context &) = delete;
    ~Context() { EVP_MD_CTX_free(md); }
};

Sha256::Sha256() : m_context(std::make_unique<Context>())
{
    // Fails only for want of memory.
    if (!m_context->md || EVP_DigestInit_ex(m_context->md, EVP_sha256(), nullptr) != 1)
        throw std::bad_alloc();
}

Sha256::~Sha256() = default;

void Sha256::add(std::span<const std::byte> bytes)
{
    if (EVP_DigestUpdate(m_context->md, bytes.data(), bytes.size()) != 1)
        throw std::bad_alloc();
}

QString Sha256::finish()
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(m_context->md, digest.data(), &length) != 1)
        throw std::bad_alloc();
    return QString::fromLatin1(
        QByteArray(reinterpret_cast<const char *>(digest.data()), qsizetype(length)).toHex());
}

QString sha256OfFile(const QString &path, const ByteReport &report)
{
    // One plain buffer: memory maps, direct input and a reader thread measured no faster.
    constexpr auto bufferBytes = std::size_t{1024} * 1024;

    const FileDescriptor file = openRegularFile(path);
    ::posix_fadvise(file.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    std::vector<std::byte> buffer(bufferBytes);
    Sha256 digest;
    std::int64_t total = 0;
    for (;;) {
        const ssize_t got = ::read(file.get(), buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            throw FileError(u"Cannot read"_s, path, errno);
        if (got == 0)
            return digest.finish();
        digest.add(std::span(buffer).first(std::size_t(got)));
        total += got;
        if (report)
            report(total);
    }
}

} // namespace vorn
