// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <stop_token>

namespace vorn {

/// Thrown out of work on another thread whose store has ended meanwhile.
class StoreEnded : public std::exception {
public:
    [[nodiscard]] const char *what() const noexcept override { return "The program is closing."; }
};

inline void throwIfEnded(const std::stop_token &stop)
{
    if (stop.stop_requested())
        throw StoreEnded();
}

} // namespace vorn
