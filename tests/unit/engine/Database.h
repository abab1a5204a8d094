// A data directory of its own with one session, and statements run in it.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "include/sqlengine.h"
#include "include/wdb.h"
#include "tests/unit/engine/SessionState.h"

struct Answer {
    std::int32_t status = 0;
    std::string document;
    /// The values of the rows, "a|b" for each row, NULL as "~", rows separated by "\n".
    std::string rows() const;
    std::string rowCount() const;
};

class Database {
public:
    Database() {
        std::string pattern = (std::filesystem::temp_directory_path() / "welk_engine_XXXXXX").string();
        directory_ = mkdtemp(pattern.data());
        EXPECT_EQ(WdbOpenSession(directory_.c_str(), "tester", nullptr, WDB_OPEN_CREATE, &session_), WDB_OK);
        EXPECT_EQ(WdbBindSession(session_), WDB_OK);
    }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database() {
        WdbCloseSession(&session_);
        std::error_code ignored;
        std::filesystem::remove_all(directory_, ignored);
    }

    /// Runs one statement, which has to leave the session as it found it.
    Answer run(const std::string& sql) {
        const std::string before = sessionState();
        Answer answer = runOnly(sql);
        EXPECT_EQ(sessionState(), before) << sql;
        return answer;
    }

    /// The same with one kernel call failing: the one behind `skip` calls of that function.
    Answer runFailing(const char* function, int skip, std::int32_t status, const std::string& sql) {
        const std::string before = sessionState();
        const std::int32_t savedBefore = savedStatuses();
        EXPECT_EQ(WdbInjectFailure(function, skip, status), WDB_OK);
        Answer answer = runOnly(sql);
        WdbInjectFailure(nullptr, 0, 0);
        // What could not be restored is still there to be restored.
        if (std::string_view(function) == "WdbLoadStatus") {
            while (savedStatuses() > savedBefore) EXPECT_EQ(WdbLoadStatus(3), WDB_OK);
        }
        EXPECT_EQ(sessionState(), before) << function << " after " << skip << ": " << sql;
        return answer;
    }

private:
    static std::int32_t savedStatuses() {
        WdbLiveCounts live{};
        EXPECT_EQ(WdbLiveHandles(&live), WDB_OK);
        return live.savedStatuses;
    }

    static Answer runOnly(const std::string& sql) {
        std::string text = sql;
        FilterData data{};
        data.text = text.data();
        data.textLength = static_cast<std::int32_t>(text.size());
        data.wdb_options = 36;
        Answer answer;
        answer.status = execsql(&data, nullptr);
        if (data.output != nullptr)
            answer.document.assign(data.output, static_cast<std::size_t>(data.outputLength));
        std::free(data.output);
        return answer;
    }

public:
    /// Runs statements that have to succeed.
    void prepare(const std::vector<std::string>& statements) {
        for (const std::string& sql : statements) {
            const Answer answer = run(sql);
            EXPECT_EQ(answer.status, 1) << sql << "\n" << answer.document;
        }
    }

    /// The session as every statement has to leave it: no set, no saved status, no handle.
    void expectClean(const std::string& after) const {
        WdbLiveCounts live{};
        EXPECT_EQ(WdbLiveHandles(&live), WDB_OK);
        EXPECT_EQ(live.controls, 0) << after;
        EXPECT_EQ(live.cursors, 0) << after;
        EXPECT_EQ(live.rowBuffers, 0) << after;
        EXPECT_EQ(live.ruleLists, 0) << after;
        EXPECT_EQ(live.savedStatuses, 0) << after;
        EXPECT_EQ(live.sets, 0) << after;
    }

    const std::string& directory() const { return directory_; }

private:
    std::string directory_;
    WdbSession* session_ = nullptr;
};

inline std::string between(const std::string& text, const std::string& open, const std::string& close,
                           std::size_t& at) {
    const std::size_t start = text.find(open, at);
    if (start == std::string::npos) return "";
    const std::size_t end = text.find(close, start + open.size());
    at = end;
    return text.substr(start + open.size(), end - start - open.size());
}

inline std::string Answer::rowCount() const {
    std::size_t at = 0;
    return between(document, " rowCount=\"", "\"", at);
}

inline std::string Answer::rows() const {
    std::string result;
    std::size_t at = document.find("<ResultSetData>");
    if (at == std::string::npos) return document;
    while ((at = document.find("<Row ", at)) != std::string::npos) {
        std::size_t end = document.find("</Row>", at);
        if (!result.empty()) result += "\n";
        bool first = true;
        while ((at = document.find("<Column ", at)) != std::string::npos && at < end) {
            if (!first) result += "|";
            first = false;
            const std::size_t line = document.find("\r\n<", at);
            std::string column = document.substr(at, line - at);
            std::size_t inner = 0;
            if (column.find(" null=\"true\"") != std::string::npos) {
                result += "~";
            } else if (column.find(" fetchKey=\"") != std::string::npos) {
                result += "@" + between(column, " fetchKey=\"", "\"", inner);
            } else {
                result += between(column, ">", "</Column>", inner);
            }
            at = line;
        }
        at = end;
    }
    return result;
}
