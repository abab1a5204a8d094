#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/import/Loader.h"
#include "host/input/TableMaker.h"

namespace host {

struct ImportRequest {
    std::string file;  // "-" for standard input
    std::string table;
    std::optional<InputFormat> format;  // by the file's name and content when absent
    bool exported = false;              // a CSV file of .export: cells hold lists and objects
};

struct ImportReport {
    LoadCounts counts;
    bool madeTable = false;
    bool keptTable = true;  // false: it was made for this import, which stored nothing, and is gone again
    double seconds = 0;
};

// Reads a file into a table, which is made when there is none. All of it is there afterwards or nothing;
// notes about records and columns that were left out go to standard error. Throws ImportError, KernelError,
// or Interrupted after Ctrl-C.
ImportReport runImport(const ImportRequest& request);

// "63,666 records in 2.41 s (26,417 records/s), 12 duplicates skipped"
std::string summary(const ImportReport& report);

// By the ending: .csv is CSV, .jsonl and .ndjson are JSON lines. Everything else is JSON lines when it begins
// with a brace, CSV when its first line has a comma and no field, and control records otherwise.
InputFormat guessFormat(std::string_view file, std::string_view firstLine);

}  // namespace host
