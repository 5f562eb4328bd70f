// Stands in for libFuzzer where the compiler has none: every file of the folders named is one input.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz_target.h"

namespace fs = std::filesystem;

namespace {

/// On the heap and exactly as long as it is: reading on would be seen by the sanitizer.
std::vector<std::uint8_t> contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

int main(int argc, char** argv) {
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        for (const fs::directory_entry& entry : fs::directory_iterator(argv[i])) {
            std::printf("%s\n", entry.path().c_str());
            const std::vector<std::uint8_t> content = contentOf(entry.path());
            LLVMFuzzerTestOneInput(content.data(), content.size());
            ++inputs;
        }
    }
    std::printf("%d inputs\n", inputs);
    return inputs > 0 ? 0 : 1;
}
