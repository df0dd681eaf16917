// SPDX-License-Identifier: Apache-2.0

#include "base/digest.h"

#include "base/files.h"

#include <QByteArray>

#include <fcntl.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <future>
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
    // One plain buffer: of what is in memory, maps, direct input and a reader thread measured no
    // faster.
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

namespace {

constexpr std::size_t pieceBytes = std::size_t{1} << 20;
constexpr std::size_t alignment = 4096; // as much as any file system asks of direct input

struct Free {
    void operator()(std::byte *memory) const { std::free(memory); }
};
using Piece = std::unique_ptr<std::byte, Free>;

Piece newPiece()
{
    Piece piece(static_cast<std::byte *>(std::aligned_alloc(alignment, pieceBytes)));
    if (!piece)
        throw std::bad_alloc();
    return piece;
}

/// False when it was not read directly.
bool endDirectInput(const FileDescriptor &file)
{
    const int flags = ::fcntl(file.get(), F_GETFL);
    return (flags & O_DIRECT) != 0 && ::fcntl(file.get(), F_SETFL, flags & ~O_DIRECT) == 0;
}

/// The next bytes of the file; none at its end.
std::size_t readPiece(const FileDescriptor &file, const QString &path, const Piece &to)
{
    for (;;) {
        const ssize_t got = ::read(file.get(), to.get(), pieceBytes);
        if (got >= 0)
            return std::size_t(got);
        // What a file system will not read directly, such as from the middle of a block, it reads.
        const bool mayGoOn = errno == EINTR || (errno == EINVAL && endDirectInput(file));
        if (!mayGoOn)
            throw FileError(u"Cannot read"_s, path, errno);
    }
}

} // namespace

QString sha256OnDisk(const QString &path, const ByteReport &report)
{
    const FileDescriptor file = openRegularFile(path);
    // Both are requests, which not every file system can grant. Direct input needs no pages of
    // memory, which are cold: those cost more than the hashing.
    ::posix_fadvise(file.get(), 0, 0, POSIX_FADV_DONTNEED);
    ::fcntl(file.get(), F_SETFL, ::fcntl(file.get(), F_GETFL) | O_DIRECT);

    const std::array<Piece, 2> pieces{newPiece(), newPiece()};
    const auto begin = [&](std::size_t turn) {
        return std::async(std::launch::async, [&file, &path, &piece = pieces[turn]] {
            return readPiece(file, path, piece);
        });
    };
    Sha256 digest;
    std::int64_t total = 0;
    auto coming = begin(0);
    for (std::size_t turn = 0;; turn = 1 - turn) {
        const std::size_t got = coming.get();
        if (got == 0)
            return digest.finish();
        coming = begin(1 - turn); // while these are hashed
        digest.add(std::span(pieces[turn].get(), got));
        total += std::int64_t(got);
        if (report)
            report(total);
    }
}

} // namespace vorn
