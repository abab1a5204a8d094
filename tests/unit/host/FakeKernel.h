#pragma once

#include <wdb.h>

#include <map>
#include <string>
#include <vector>

namespace host {

// Stands in for the kernel where a test wants to see what a loader asks of it: a table of columns, a log of
// calls, and calls that can be told to fail.
struct FakeKernel {
    struct FakeColumn {
        std::string name;
        std::int32_t type;
    };
    std::vector<FakeColumn> columns;
    std::vector<std::string> log;                  // "NAME/0=x", "put", "end 1", ...
    std::map<std::string, std::int32_t> failures;  // log entry -> the status that it gets
    std::int32_t cursors = 0, controls = 0;        // alive
    std::int32_t parts = 0;                        // of the current record
    std::int32_t field = 0, item = 0;              // where the cursor stands

    std::int32_t answer(const std::string& entry) {
        log.push_back(entry);
        const auto failure = failures.find(entry);
        return failure == failures.end() ? WDB_OK : failure->second;
    }
    // The kernel that the functions below it act on; a test sets it while it lives.
    static FakeKernel*& current();
};

}  // namespace host
