// What the benchmarks of whole statements run in.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "include/sqlengine.h"
#include "include/wdb.h"

/// A directory of its own below WELK_BENCH_DIR, or where temporary files go; removed with the object.
class Directory {
public:
    Directory() {
        const char* chosen = std::getenv("WELK_BENCH_DIR");
        const std::filesystem::path base =
            chosen != nullptr ? std::filesystem::path(chosen) : std::filesystem::temp_directory_path();
        std::string pattern = (base / "welk_bench_XXXXXX").string();
        if (mkdtemp(pattern.data()) != nullptr) path_ = pattern;
    }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;
    ~Directory() {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// A fresh data directory with one session on it, bound to this thread.
class Session {
public:
    Session() {
        ready_ = WDB_SUCCESS(WdbOpenSession(directory_.path().c_str(), "bench", nullptr, WDB_OPEN_CREATE,
                                            &session_)) &&
                 WDB_SUCCESS(WdbBindSession(session_));
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() { WdbCloseSession(&session_); }

    bool ready() const { return ready_; }
    /// Runs the statement; hits is the row count of the answer.
    static bool succeeds(std::string sql, long* hits = nullptr) {
        FilterData data{};
        data.text = sql.data();
        data.textLength = static_cast<std::int32_t>(sql.size());
        data.wdb_options = 36;
        const bool done = (execsql(&data, nullptr) & 1) != 0;
        if (!done)
            std::fprintf(stderr, "%.200s\n%s\n", sql.c_str(),
                         data.output != nullptr ? data.output : data.message);
        const char* count = data.output != nullptr ? std::strstr(data.output, " rowCount=\"") : nullptr;
        if (hits != nullptr) *hits = count != nullptr ? std::strtol(count + 11, nullptr, 10) : -1;
        std::free(data.output);
        return done;
    }

private:
    Directory directory_;  // outlives the session
    WdbSession* session_ = nullptr;
    bool ready_ = false;
};
