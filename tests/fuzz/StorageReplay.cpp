// Runs the fuzz target without a fuzzer: changes at random, with the dice fixed.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

TEST(StorageReplay, LivesWithBentFiles) {
    const char* given = std::getenv("WELK_LONG");
    const int rounds = given != nullptr && *given == '1' ? 20000 : 300;
    std::mt19937 dice{20261121};
    for (int round = 0; round < rounds; ++round) {
        std::vector<uint8_t> input(2 + dice() % 24);
        for (uint8_t& byte : input) byte = static_cast<uint8_t>(dice());
        SCOPED_TRACE(round);
        ::alarm(20);  // a hang ends the program
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
    ::alarm(0);
}

}  // namespace
