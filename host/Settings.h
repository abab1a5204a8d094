#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/format/Formatter.h"

namespace host {

// What the command line and the dot commands choose.
struct Settings {
    Format format = Format::table;
    bool allRows = false;
    std::optional<std::int32_t> blockSize, block;  // rows per block; number of the block, 1-based
    bool bail = false;                             // the first fault ends everything
    bool verbose = false;                          // faults with their source and context
    bool timer = false;
    bool explain = false;  // each statement is followed by its steps
};

struct Options {
    std::string data;  // data directory
    std::string user;
    std::string passwordFile;
    bool batch = false, readOnly = false;
    std::vector<std::string> commands, files;
    Settings settings;
};

enum class ParseOutcome { run, done, usageError };

// Reads the command line. For --help and errors it has written what there is to say already.
ParseOutcome parseOptions(int argc, char** argv, Options& options);

}  // namespace host
