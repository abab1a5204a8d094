// Every kept input of a fuzzer once more, so that what it found stays mended where no fuzzer can be built.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/tables/SourceDirectory.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

TEST(CorpusReplay, SurvivesEveryKeptInput) {
    const std::filesystem::path folder(std::string(sourceDirectory()) + "/tests/fuzz/corpus/" WELK_CORPUS);
    size_t inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        SCOPED_TRACE(entry.path().filename().string());
        std::ifstream file(entry.path(), std::ios::binary);
        ASSERT_TRUE(file.is_open());
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
        ++inputs;
    }
    EXPECT_GT(inputs, 0u) << folder;
}

}  // namespace
