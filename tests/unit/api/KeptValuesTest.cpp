// Rows whose values belong to the time when their set was made, beside rows that show what is stored now.
#include <algorithm>
#include <thread>

#include "tests/unit/api/ApiTest.h"

namespace {

struct Way {
    const char* name;
    bool saved;  // are the sets made within a saved status,
    bool unit;   // in which the session has written already?
    void (*change)(const std::string& home);
};

class KeptValues : public ApiTest, public testing::WithParamInterface<Way> {
protected:
    void SetUp() override {
        ApiTest::SetUp();
        createBase("T", {{"A", "PHRASE"}, {"B", "TEXT"}, {"N", "INTEGER"}});
        createBase("U", {{"X", "INTEGER"}});
        createBase("V", {{"X", "INTEGER"}});
        const std::vector<std::string> records[] = {{"x", "t", "1"}, {"x", "", "2"}, {"y", "", "3"}, {"z"}};
        for (const auto& values : records) ASSERT_EQ(insert("T", values), 1);
        ASSERT_EQ(insert("U", {"1"}), 1);
    }
    // The rows' items with their flags; the status of a row that has none.
    static std::string rows(int32_t set) {
        std::string out;
        for (int32_t index = 0; index < 20; ++index) {
            char* items = nullptr;
            uint32_t* words = nullptr;
            const int32_t status = WdbGetRows(set, index, 1, &items, &words);
            if (status == 0) break;
            out += status == 1 ? "(" : "(" + std::to_string(status);
            size_t at = 0;
            for (uint32_t item = 0; status == 1 && item < words[0]; ++item) {
                const uint32_t length = words[2 + 2 * item], flags = words[3 + 2 * item];
                out += std::string(item > 0 ? " " : "") + std::to_string(flags) + ":" +
                       std::string(items + at, length);
                at += length + ((flags & 128) != 0 ? 1 : 0);
            }
            out += ")";
            EXPECT_EQ(WdbDeallocate(items), 1);
            EXPECT_EQ(WdbDeallocate(words), 1);
        }
        return out;
    }
    // The numbers of the set's records that are still there.
    static std::string hits(int32_t set) {
        std::string out;
        WdbRecordControl* made = nullptr;
        EXPECT_EQ(WdbCreateRecordControl(&made), 1);
        for (int32_t ordinal = 1;; ++ordinal) {
            int32_t number = 0;
            char base[WDB_BASE_NAME_SIZE] = "";
            const int32_t status = WdbGetRecordInSearchRis(made, set, ordinal, &number, base);
            if (status != 1 && status != WDB_E_DELETED) break;
            if (status == 1) out += std::to_string(number) + " ";
        }
        EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
        return out;
    }
};

// The first record goes, the third gets another value.
void write() {
    WdbRecordControl* made = nullptr;
    WdbCursor* cursor = nullptr;
    EXPECT_EQ(WdbCreateRecordControl(&made), 1);
    EXPECT_EQ(WdbSetBase(made, "T", WDB_MODE_DELETE), 1);
    EXPECT_EQ(WdbGetRecordInBase(made, 1), 1);
    EXPECT_EQ(WdbDeleteRecordInBase(made), 1);
    EXPECT_EQ(WdbSetBase(made, "T", WDB_MODE_WRITE), 1);
    EXPECT_EQ(WdbGetRecordInBase(made, 3), 1);
    EXPECT_EQ(WdbSetCursor(&cursor, made, 1, 0, 1), 1);
    EXPECT_EQ(WdbReplaceItem(cursor, "new", 3), 1);
    EXPECT_EQ(WdbDeleteCursor(&cursor), 1);
    EXPECT_EQ(WdbPutRecord(made, nullptr), 1);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
}

void writeElsewhere() {
    WdbRecordControl* made = nullptr;
    EXPECT_EQ(WdbCreateRecordControl(&made), 1);
    EXPECT_EQ(WdbSetBase(made, "V", WDB_MODE_WRITE), 1);
    EXPECT_EQ(WdbPutRecord(made, nullptr), 1);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
}

void writeInAnotherSession(const std::string& home) {
    std::thread other([&home] {
        WdbSession* session = nullptr;
        ASSERT_EQ(WdbOpenSession(home.c_str(), "boss", "", 0, &session), 1);
        ASSERT_EQ(WdbBindSession(session), 1);
        write();
        EXPECT_EQ(WdbCloseSession(&session), 1);
    });
    other.join();
}

const Way kWays[] = {
    {"OwnWritesOfAUnit", true, true, [](const std::string&) { write(); }},
    {"FirstOwnWritesOfAUnit", true, false, [](const std::string&) { write(); }},
    {"OwnWritesWithoutAUnit", false, false, [](const std::string&) { write(); }},
    {"WritesOfOthersWithoutASavedStatus", false, false, writeInAnotherSession},
    {"WritesOfOthersBesideAnOwnOne", true, false,
     [](const std::string& home) {
         writeInAnotherSession(home);
         writeElsewhere();
     }},
    {"TheSavedStatusGoes", true, false,
     [](const std::string& home) {
         writeInAnotherSession(home);
         EXPECT_EQ(WdbLoadStatus(2), 1);
         EXPECT_EQ(WdbSaveStatus(), 1);
     }},
    {"TheUnitThatWasSearchedIsCommitted", true, true,
     [](const std::string& home) {
         EXPECT_EQ(WdbLoadStatus(2), 1);
         writeInAnotherSession(home);
         EXPECT_EQ(WdbSaveStatus(), 1);
     }},
};

TEST_P(KeptValues, StayWhateverIsWritten) {
    if (GetParam().saved) {
        ASSERT_EQ(WdbSaveStatus(), 1);
    }
    if (GetParam().unit) {
        ASSERT_EQ(insert("T", {"w"}), 1);
    }
    const char* const commands[] = {
        "SEL DISTINCT FRL(T) FIELD(T.A)",
        "SEL FRL(T) FIELD(T.A,COUNT(*),T.N) GROUP(T.A)",
        "SEL DISTINCT FRL(T,U) FIELD(T.A,T.N+U.X) INNER(T.N<=U.X)",
        "SEL FRL(T) FIELD(T.A) WHERE(T.R<4)",  // 4: rows that are records
        "SEL DISTINCT UNION(4,1)",
        "SEL ALL UNION(5,4)",
    };
    std::vector<std::string> before;
    for (const char* command : commands) {
        ASSERT_EQ(ccl(command), 1) << command;
        before.push_back(rows(static_cast<int32_t>(before.size() + 1)));
    }
    EXPECT_EQ(before[3], "(137:x)(137:x)(137:y)");
    GetParam().change(home_);
    const std::string changed = "(2882)(137:x)(137:new)";
    for (size_t i = 0; i < before.size(); ++i) {
        const std::string after = rows(static_cast<int32_t>(i + 1));
        EXPECT_EQ(after, i == 3 ? changed : i == 5 ? before[4] + changed : before[i]) << commands[i];
        EXPECT_NE(before[i].find("137:x"), std::string::npos) << commands[i];
    }
    if (GetParam().saved) {
        EXPECT_EQ(WdbLoadStatus(3), 1);
    }
}

// A set over the index files shows the same records when these have been written anew and the old ones are
// gone.
TEST_P(KeptValues, HitsStayWhateverIsWritten) {
    for (int i = 0; i < 60; ++i) ASSERT_EQ(insert("T", {"x", "common", "9"}), 1);
    ASSERT_EQ(WdbBatchLoadIndex(1, "T", ""), 1);
    if (GetParam().saved) {
        ASSERT_EQ(WdbSaveStatus(), 1);
    }
    if (GetParam().unit) {
        ASSERT_EQ(insert("T", {"w"}), 1);
    }
    const char* const commands[] = {
        "FIND T.B=common",         "SEL FRL(T) FIELD(T.R) WHERE(T.B=common)",
        "FIND S=1 AND T.A=x",      "FIND T.A=x NOT T.N=1",
        "FIND S=4 AND T.B=common", "FIND T.B=common OR T.A=y",
        "SEL ALL UNION(2,2)",      "FIND T.R>4 NOT T.B=common",
    };
    std::vector<std::string> before;
    for (const char* command : commands) {
        const int32_t status = ccl(command);
        ASSERT_TRUE(status == 1 || status == WDB_E_CCL_NO_HITS) << command;
        if (status == 1) before.push_back(hits(static_cast<int32_t>(before.size() + 1)));
    }
    ASSERT_EQ(std::ranges::count(before[0], ' '), 60);
    const std::string joined = rows(7);
    ASSERT_EQ(std::ranges::count(joined, '('), 20);
    const auto check = [&](const char* when) {
        for (size_t i = 0; i < before.size(); ++i)
            EXPECT_EQ(hits(static_cast<int32_t>(i + 1)), before[i]) << when << ": " << commands[i];
        EXPECT_EQ(rows(7), joined) << when << ": " << commands[6];
    };
    GetParam().change(home_);
    check("written");
    if (GetParam().saved) {
        ASSERT_EQ(WdbLoadStatus(2), 1);
    }
    check("the status is gone");
    ASSERT_EQ(WdbBatchLoadIndex(1, "T", ""), 1);
    check("the index was made anew");
    ASSERT_EQ(ccl("FIND S=1 AND T.A=x"), 1);
    EXPECT_EQ(hits(static_cast<int32_t>(before.size() + 1)), before[0]);
}

INSTANTIATE_TEST_SUITE_P(Ways, KeptValues, testing::ValuesIn(kWays),
                         [](const auto& way) { return std::string(way.param.name); });

}  // namespace
