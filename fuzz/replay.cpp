// SPDX-License-Identifier: Apache-2.0

// Runs a fuzz target once over each file of a folder, without libFuzzer.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int main(int argumentCount, char *arguments[])
{
    if (argumentCount != 2) {
        std::fprintf(stderr, "Usage: %s FOLDER\n", arguments[0]);
        return 2;
    }
    std::vector<std::filesystem::path> files;
    for (const auto &entry : std::filesystem::directory_iterator(arguments[1])) {
        if (entry.is_regular_file())
            files.push_back(entry.path());
    }
    std::ranges::sort(files);
    for (const auto &file : files) {
        // Said first, so that the last line names the input that ends the run.
        std::puts(file.c_str());
        std::fflush(stdout);
        std::ifstream stream(file, std::ios::binary);
        const std::vector<char> bytes(std::istreambuf_iterator<char>(stream), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
    }
    return files.empty() ? 1 : 0;
}
