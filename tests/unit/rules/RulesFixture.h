#pragma once

#include "tests/unit/api/ApiTest.h"

// Bases with rules between them, and their contents in short.
class RulesFixture : public ApiTest {
protected:
    struct Rule {
        std::string base, column, table, referred;
        int32_t onUpdate, onDelete;
    };

    static int32_t addRule(const Rule& rule) {
        WdbBaseDef definition{};
        EXPECT_EQ(WdbGetBaseDef(rule.base.c_str(), &definition), 1);
        const int32_t status = WdbSetForeignKey(rule.column.c_str(), rule.table.c_str(),
                                                rule.referred.c_str(), rule.onUpdate, rule.onDelete);
        return status == 1 ? WdbPutBaseDef(&definition) : status;
    }
    static void setDefault(const std::string& base, const std::string& field, const std::string& value) {
        WdbBaseDef definition{};
        ASSERT_EQ(WdbGetBaseDef(base.c_str(), &definition), 1);
        WdbFieldSpec record{};
        copy(record.name, field);
        ASSERT_EQ(WdbPutDefaultValue(&record, value.c_str()), 1);
        ASSERT_EQ(WdbPutBaseDef(&definition), 1);
    }
    // Sets items of a stored record; "" empties a field.
    static int32_t update(const char* base, int32_t number, int32_t field, const std::string& value) {
        WdbRecordControl* made = control(base, WDB_MODE_WRITE);
        EXPECT_EQ(WdbGetRecordInBase(made, number), 1);
        EXPECT_EQ(set(made, field, 0, value), 1);
        const int32_t status = WdbPutRecord(made, nullptr);
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
        return status;
    }
    static int32_t remove(const char* base, int32_t number) {
        WdbRecordControl* made = control(base, WDB_MODE_DELETE);
        EXPECT_EQ(WdbGetRecordInBase(made, number), 1);
        const int32_t status = WdbDeleteRecordInBase(made);
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
        return status;
    }
    // "1=a/b 3=c/": the live records with their first items.
    static std::string contents(const char* base, int32_t fields = 2) {
        std::string all;
        WdbRecordControl* made = control(base, WDB_MODE_READ);
        for (int32_t number = 1;; ++number) {
            const int32_t status = WdbGetRecordInBase(made, number);
            if (status == 0) break;
            if (status != 1) continue;
            all += (all.empty() ? "" : " ") + std::to_string(number) + "=";
            for (int32_t field = 1; field <= fields; ++field) {
                const std::string item = get(made, field, 1);
                all += (field == 1 ? "" : "/") + (item == "#0" ? std::string() : item);
            }
        }
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
        EXPECT_EQ(WdbVerifyBase(base, 0, report, nullptr), 1) << base;
        return all;
    }
    static int32_t report(void*, int32_t, int32_t record, const char* text) {
        ADD_FAILURE() << record << ": " << text;
        return 1;
    }
};
