// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace vorn {

/// Incremental SHA-256 (FIPS 180-4) through OpenSSL, which uses the processor's instructions.
class Sha256 {
public:
    Sha256();
    ~Sha256();
    Sha256(const Sha256 &) = delete;
    Sha256 &operator=(const Sha256 &) = delete;

    void add(std::span<const std::byte> bytes);
    /// The digest as 64 lower-case hexadecimal characters. Ends the run.
    [[nodiscard]] QString finish();

private:
    struct Context;
    std::unique_ptr<Context> m_context;
};

/// Gets the bytes read so far; what it throws ends the reading.
using ByteReport = std::function<void(std::int64_t)>;

/// SHA-256 of a regular file, read once through one buffer of 1 MiB. Reports after each buffer, if
/// it has been given a report. Throws FileError. Blocks.
[[nodiscard]] QString sha256OfFile(const QString &path, const ByteReport &report = {});

/// The same of what the disk has, past what the system keeps of it in memory where the file system
/// can: one piece of 1 MiB is read while the one before is hashed. What has not been flushed counts
/// as well, but is not read back.
[[nodiscard]] QString sha256OnDisk(const QString &path, const ByteReport &report = {});

} // namespace vorn
