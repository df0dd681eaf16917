// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <vector>

namespace vorn {

/// Overwrites memory so that no compiler leaves it out.
void wipe(void *memory, std::size_t bytes) noexcept;

/// Overwrites what `bytes` holds and leaves it empty. The array must be the only one that holds
/// them: an implicitly shared one would overwrite another's, and so is only let go.
void wipe(QByteArray &bytes) noexcept;

/// Overwrites a text for all who share it, the toolkit and JavaScript included, and lets go of it:
/// for a secret that has had its day everywhere. A literal is only let go.
void wipeShared(QString &text) noexcept;

/// Overwrites what deeper calls of this thread have left on its stack: locals, and the vector
/// registers that the dynamic linker saves there when a function is called for the first time,
/// which hold what was copied last.
void wipeStack() noexcept;

/// Overwrites memory before giving it back.
template <class Value> struct WipingAllocator {
    using value_type = Value;

    WipingAllocator() = default;
    template <class Other> explicit WipingAllocator(const WipingAllocator<Other> &) noexcept {}

    [[nodiscard]] Value *allocate(std::size_t count)
    {
        return std::allocator<Value>().allocate(count);
    }
    void deallocate(Value *memory, std::size_t count) noexcept
    {
        wipe(memory, count * sizeof(Value));
        std::allocator<Value>().deallocate(memory, count);
    }
    bool operator==(const WipingAllocator &) const = default;
};

/// Text that must not stay in memory: a token, a code. Copies and former places of a grown vector
/// are overwritten as well; what is made of it is the maker's to care for.
using SecretBytes = std::vector<char, WipingAllocator<char>>;

/// The parts as one text.
[[nodiscard]] SecretBytes secretBytes(std::initializer_list<QByteArrayView> parts);

} // namespace vorn
