#pragma once

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "include/wdb.h"

// A fresh home directory with one bound session, and the calls that every test of the API makes, in short.
class ApiTest : public testing::Test {
protected:
    struct Field {
        std::string name;
        std::string type;
        bool mandatory = false;
        bool serial = false;
        bool key = false;
    };

    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "wdbapi-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        home_ = pattern;
        session_ = open(WDB_OPEN_CREATE);
        ASSERT_NE(session_, nullptr);
        ASSERT_EQ(WdbBindSession(session_), 1);
    }
    void TearDown() override {
        EXPECT_EQ(WdbCloseSession(&session_), 1);
        std::error_code ignored;
        std::filesystem::remove_all(home_, ignored);
    }

    WdbSession* open(uint32_t options = 0) {
        WdbSession* session = nullptr;
        EXPECT_EQ(WdbOpenSession(home_.c_str(), "boss", "", options, &session), 1);
        return session;
    }

    static WdbFieldSpec spec(const Field& field) {
        WdbFieldSpec record{};
        copy(record.name, field.name);
        copy(record.typeName, field.type);
        record.indexed = field.type != "STRING";
        record.mandatory = field.mandatory;
        record.serial = field.serial;
        record.key = field.key;
        record.wholeValue = field.type != "STRING" && field.type != "TEXT";
        return record;
    }
    template <size_t N>
    static void copy(char (&to)[N], const std::string& text) {
        ASSERT_LT(text.size(), N);
        std::memcpy(to, text.c_str(), text.size() + 1);
    }

    // CREATE TABLE as the engine does it.
    static void createBase(const std::string& name, const std::vector<Field>& fields,
                           const std::string& uniqueKey = "") {
        WdbBaseDef base{};
        ASSERT_EQ(WdbGetBaseDef(name.c_str(), &base), 1);
        ASSERT_EQ(base.isNew, 1);
        for (const Field& field : fields) {
            WdbFieldSpec record = spec(field);
            ASSERT_EQ(WdbGetFieldSpec(&record), 0) << field.name;
            ASSERT_EQ(WdbPutFieldSpec(&record), 1) << field.name;
        }
        fill(base, name, uniqueKey);
        ASSERT_EQ(WdbPutBaseDef(&base), 1);
    }
    static void fill(WdbBaseDef& base, const std::string& name, const std::string& uniqueKey) {
        copy(base.baseFile, "WELKSQL$BASES:" + name + ".BAF");
        copy(base.indexFile, "WELKSQL$BASES:" + name + ".BIF");
        copy(base.valueFile, "WELKSQL$BASES:" + name + ".VIF");
        copy(base.charset, "MUL");
        copy(base.uniqueKey, uniqueKey);
        base.active = 1;
    }

    static WdbRecordControl* control(const char* base, int32_t mode) {
        WdbRecordControl* made = nullptr;
        EXPECT_EQ(WdbCreateRecordControl(&made), 1);
        EXPECT_EQ(WdbSetBase(made, base, mode), 1);
        return made;
    }
    static int32_t fieldNumber(WdbRecordControl* control, const char* name) {
        char buffer[WDB_FIELD_NAME_SIZE] = {};
        std::strcpy(buffer, name);
        int32_t number = 0;
        EXPECT_EQ(WdbCheckField(control, buffer, &number, nullptr, nullptr), 1) << name;
        return number;
    }
    static int32_t set(WdbRecordControl* control, int32_t field, int32_t item, const std::string& value) {
        WdbCursor* cursor = nullptr;
        int32_t status = WdbSetCursor(&cursor, control, field, 0, item);
        if (status == 1) status = WdbReplaceItem(cursor, value.data(), static_cast<int32_t>(value.size()));
        EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
        return status;
    }
    // An item's text, or "#" and the status.
    static std::string get(WdbRecordControl* control, int32_t field, int32_t item = 0) {
        WdbCursor* cursor = nullptr;
        char buffer[512];
        int32_t length = sizeof buffer;
        int32_t status = WdbSetCursor(&cursor, control, field, 0, item);
        if (status == 1) status = WdbGetItem(cursor, buffer, &length);
        EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
        return status == 1 ? std::string(buffer, static_cast<size_t>(length)) : "#" + std::to_string(status);
    }
    // All lines of a text, each in brackets.
    static std::string lines(WdbRecordControl* control, int32_t field, int32_t paragraph = 0) {
        WdbCursor* cursor = nullptr;
        if (const int32_t status = WdbSetCursor(&cursor, control, field, paragraph, 0); status != 1)
            return "#" + std::to_string(status);
        std::string all;
        std::vector<char> buffer(8192);
        for (;;) {
            int32_t length = 8192;
            if (WdbGetLine(cursor, buffer.data(), &length) != 1) break;
            all.append("[").append(buffer.data(), static_cast<size_t>(length)).append("]");
        }
        EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
        return all;
    }
    // Stores one record with values for the fields 1, 2, ...; the status of the put.
    static int32_t insert(const char* base, const std::vector<std::string>& values,
                          int32_t* number = nullptr) {
        WdbRecordControl* made = control(base, WDB_MODE_WRITE);
        for (size_t i = 0; i < values.size(); ++i) {
            if (!values[i].empty()) {
                EXPECT_EQ(set(made, static_cast<int32_t>(i + 1), 0, values[i]), 1);
            }
        }
        const int32_t status = WdbPutRecord(made, number);
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
        return status;
    }
    static int32_t ccl(const std::string& command) {
        int32_t status = -7;
        EXPECT_EQ(WdbExecuteCcl(command.c_str(), &status), status) << command;
        return status;
    }
    // The record numbers that a command found.
    static std::vector<int32_t> found() {
        int32_t set = 0, count = 0;
        std::vector<int32_t> numbers;
        if (WdbGetSearch(&set, &count, nullptr) != 1) return {-1};
        WdbRecordControl* made = nullptr;
        EXPECT_EQ(WdbCreateRecordControl(&made), 1);
        for (int32_t ordinal = 1; ordinal <= count; ++ordinal) {
            int32_t number = 0;
            char base[WDB_BASE_NAME_SIZE];
            EXPECT_EQ(WdbGetRecordInSearchRis(made, set, ordinal, &number, base), 1);
            numbers.push_back(number);
        }
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
        return numbers;
    }
    static std::vector<int32_t> find(const std::string& command) {
        EXPECT_EQ(ccl("DEF FIN MIN=0"), 1);
        EXPECT_EQ(ccl(command), 1);
        return found();
    }
    static WdbLiveCounts live() {
        WdbLiveCounts counts{};
        EXPECT_EQ(WdbLiveHandles(&counts), 1);
        return counts;
    }
    static std::string text(int32_t (*function)(char*, int32_t*)) {
        char buffer[256];
        int32_t length = sizeof buffer;
        return function(buffer, &length) == 1 ? std::string(buffer, static_cast<size_t>(length)) : "#";
    }

    std::string home_;
    WdbSession* session_ = nullptr;
};
