// SPDX-License-Identifier: Apache-2.0

#include "https/wiping_curl.h"

#include "https/secret_bytes.h"

#include <curl/curl.h>
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace vorn {
namespace {

void releaseWiped(void *memory)
{
    if (!memory)
        return;
    wipe(memory, ::malloc_usable_size(memory));
    std::free(memory);
}

void *resizeWiped(void *memory, std::size_t bytes)
{
    void *const resized = std::malloc(bytes);
    if (memory && resized) {
        std::memcpy(resized, memory, std::min(bytes, ::malloc_usable_size(memory)));
        releaseWiped(memory);
    }
    return resized;
}

} // namespace

void useWipingCurl()
{
    static const CURLcode result = curl_global_init_mem(
        CURL_GLOBAL_DEFAULT, &std::malloc, &releaseWiped, &resizeWiped, &::strdup, &std::calloc);
    if (result != CURLE_OK)
        throw std::runtime_error("libcurl cannot be used");
}

} // namespace vorn
