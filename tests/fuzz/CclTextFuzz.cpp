// Any bytes as a command line: refused at a place inside it, or read into a tree whose canonical form reads
// as itself.
#include <cstddef>
#include <cstdint>
#include <string>

#include "kernel/ccl/Printer.h"
#include "kernel/ccl/Reader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace wdb;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const ccl::CommandWords words;
    size_t position = size + 1;
    const auto command = ccl::readCommand(text, words, &position);
    if (!command) {
        if (command.status() != WDB_E_CCL_SYNTAX || position > size) __builtin_trap();
        return 0;
    }
    const std::string canonical = ccl::printCommand(*command);
    const auto again = ccl::readCommand(canonical, words, &position);
    if (!again || ccl::printCommand(*again) != canonical) __builtin_trap();
    return 0;
}
