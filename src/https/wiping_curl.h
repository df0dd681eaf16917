// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vorn {

/// Sets libcurl up, once in the process, so that it overwrites all memory it gives back: its copies
/// of headers, requests and answers may hold a token. To be called before anything else of libcurl.
/// Any thread. Throws std::runtime_error.
void useWipingCurl();

} // namespace vorn
