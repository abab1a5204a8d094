// The sequences of calls in which statements arrive.
#include <thread>

#include "tests/unit/api/ApiTest.h"

namespace {

class Statements : public ApiTest {
protected:
    void SetUp() override {
        ApiTest::SetUp();
        createBase("T", {{"A", "PHRASE"}, {"B", "TEXT"}, {"N", "INTEGER"}});
    }
    static std::string bases() {
        char text[256];
        int32_t length = sizeof text;
        EXPECT_EQ(WdbSessionInfo(8, nullptr, text, &length), 1);
        return text;
    }
    static int32_t info(int32_t item) {
        int32_t number = -1;
        EXPECT_EQ(WdbSessionInfo(item, &number, nullptr, nullptr), 1);
        return number;
    }
    struct Stamps {
        std::string modified, indexed;
        int32_t records = -1, pending = -1;
    };
    static Stamps stamps() {
        Stamps out;
        char modified[64], indexed[64];
        int32_t one = sizeof modified, two = sizeof indexed;
        EXPECT_EQ(WdbBaseStatus("T", modified, &one, indexed, &two, &out.records, &out.pending), 1);
        out.modified = modified;
        out.indexed = indexed;
        return out;
    }
};

TEST_F(Statements, AStatusThatDoesNotFitLeavesBothDatesAlone) {
    char one[64] = "x", two[64] = "y";
    const std::pair<int32_t, int32_t> sizes[] = {{64, 5}, {5, 64}, {0, 64}, {64, 0}};
    for (const auto& [first, second] : sizes) {
        int32_t modified = first, indexed = second, records = -1;
        const int32_t status = WdbBaseStatus("T", one, &modified, two, &indexed, &records, nullptr);
        EXPECT_EQ(status, first < 1 || second < 1 ? WDB_E_ARGUMENT : WDB_E_BUFFER);
        EXPECT_STREQ(one, "x");
        EXPECT_STREQ(two, "y");
        EXPECT_EQ(records, -1);
    }
    int32_t length = 1;
    EXPECT_EQ(WdbBaseStatus("T", one, &length, nullptr, nullptr, nullptr, nullptr), WDB_E_BUFFER);
    EXPECT_EQ(WdbBaseStatus("T", one, &length, nullptr, nullptr, nullptr, nullptr), 1) << "the size needed";
}

TEST_F(Statements, AChangeIsLaterThanTheLastIndexJobWhateverTheClockSays) {
    std::string last;
    const auto expectBehind = [&](const std::string& when) {
        const Stamps now = stamps();
        EXPECT_GT(now.modified, now.indexed) << when;
        EXPECT_GT(now.modified, last) << when;
        last = now.modified;
    };
    for (const char* clock : {"2026-03-04 05:06:07", "2026-03-04 05:06:07", "2026-03-04 05:06:00"}) {
        ASSERT_EQ(WdbSetClock(clock), 1);
        ASSERT_EQ(insert("T", {clock}), 1);
        expectBehind("one change");
        ASSERT_EQ(insert("T", {clock}), 1);
        expectBehind("a second one");
        for (int job = 0; job < 3; ++job) {
            const std::string before = stamps().indexed;
            ASSERT_EQ(WdbBatchLoadIndex(2, "T", ""), 1);
            EXPECT_GT(stamps().indexed, before);
            EXPECT_GE(stamps().indexed, stamps().modified);
        }
        ASSERT_EQ(WdbSaveStatus(), 1);
        ASSERT_EQ(insert("T", {clock}), 1);
        EXPECT_GT(stamps().modified, stamps().indexed) << "inside a unit";
        ASSERT_EQ(WdbLoadStatus(3), 1);
        expectBehind("a unit");
    }
}

TEST_F(Statements, AJobInTheBackgroundWaitsForTheUnit) {
    ASSERT_EQ(UpdateRCS("SQL_BATCHINDEX", "1"), 1);
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(insert("T", {"a"}), 1);
    const std::string before = stamps().indexed;
    for (int i = 0; i < 2; ++i) ASSERT_EQ(WdbBatchLoadIndex(2, "T", ""), 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_EQ(stamps().indexed, before);
    ASSERT_EQ(WdbLoadStatus(3), 1);
    const std::string modified = stamps().modified;
    for (int i = 0; i < 500 && stamps().indexed == before; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_GE(stamps().indexed, modified) << "the job has seen what the unit wrote";
}

TEST_F(Statements, ASnapshotThatIsTooOldIsGivenUp) {
    for (const char* name : {"b", "a", "c"}) ASSERT_EQ(insert("T", {name}), 1);
    ASSERT_EQ(UpdateRCS("WDB_SNAPSHOT_MAX", "1"), 1);
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(find("FIND T.A=$").size(), 3u);
    std::thread([&] {
        WdbSession* other = open();
        ASSERT_EQ(WdbBindSession(other), 1);
        ASSERT_EQ(insert("T", {"d"}), 1);
        ASSERT_EQ(WdbCloseSession(&other), 1);
    }).join();
    EXPECT_EQ(find("FIND T.A=$").size(), 3u) << "the statement's state";
    EXPECT_EQ(live().readers, 3);
    std::this_thread::sleep_for(std::chrono::milliseconds(2100));
    EXPECT_EQ(find("FIND T.A=$").size(), 4u) << "a new one";
    ASSERT_EQ(WdbLoadStatus(3), 1);
    EXPECT_EQ(live().readers, 0);
}

TEST_F(Statements, UpdateWithAndWithoutCondition) {
    for (int i = 1; i <= 5; ++i) ASSERT_EQ(insert("T", {i % 2 ? "odd" : "even"}), 1);
    ASSERT_EQ(ccl("BAS T"), 1);
    ASSERT_EQ(ccl("FIND T.A=odd"), 1);
    const WdbLiveCounts before = live();
    struct Row {
        const char* find;
        std::vector<int32_t> changed;
    };
    const Row rows[] = {{"FIND T.A=even", {2, 4}}, {nullptr, {1, 2, 3, 4, 5}}};
    for (const Row& row : rows) {
        ASSERT_EQ(WdbSaveStatus(), 1);
        ASSERT_EQ(ccl("DEF FIN MIN=0"), 1);
        ASSERT_EQ(WdbBatchLoadIndex(2, "T", ""), 1);
        ASSERT_EQ(ccl("BAS T"), 1);
        if (row.find != nullptr) {
            ASSERT_EQ(ccl(row.find), 1);
        }
        int32_t set = 0, count = 0;
        ASSERT_EQ(WdbGetSearch(&set, &count, nullptr), 1);
        EXPECT_EQ(set, 2);
        std::vector<int32_t> changed;
        for (int32_t ordinal = 1; ordinal <= count; ++ordinal) {
            WdbRecordControl* made = nullptr;
            int32_t number = 0;
            char base[WDB_BASE_NAME_SIZE];
            ASSERT_EQ(WdbCreateRecordControl(&made), 1);
            ASSERT_EQ(WdbGetRecordInSearchRis(made, set, ordinal, &number, base), 1);
            EXPECT_STREQ(base, "T");
            ASSERT_EQ(WdbSetBase(made, base, WDB_MODE_WRITE), 1);
            ASSERT_EQ(ApiTest::set(made, 3, 0, std::to_string(number * 10)), 1);
            ASSERT_EQ(WdbPutRecord(made, &number), 1);
            changed.push_back(number);
            ASSERT_EQ(WdbDeleteRecordControl(&made), 1);
        }
        EXPECT_EQ(changed, row.changed);
        ASSERT_EQ(WdbLoadStatus(3), 1);
        EXPECT_EQ(bases(), "T");
        EXPECT_EQ(info(6), 1) << "the statement's set is gone";
        EXPECT_EQ(found(), (std::vector<int32_t>{1, 3, 5})) << "the result is that from before";
    }
    EXPECT_EQ(find("FIND T.N=20 TO 40"), (std::vector<int32_t>{2, 3, 4}));
    const WdbLiveCounts after = live();
    EXPECT_EQ(after.controls, before.controls);
    EXPECT_EQ(after.cursors, before.cursors);
    EXPECT_EQ(after.savedStatuses, before.savedStatuses);
    EXPECT_EQ(after.readers, 0) << "nothing holds a transaction between calls";
}

TEST_F(Statements, DeleteWalksEveryOrdinal) {
    for (int i = 0; i < 5; ++i) ASSERT_EQ(insert("T", {"x"}), 1);
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(ccl("DEF FIN MIN=0"), 1);
    ASSERT_EQ(ccl("BAS T"), 1);
    ASSERT_EQ(ccl("FIND R=FROM 1"), 1);
    int32_t set = 0, count = 0;
    ASSERT_EQ(WdbGetSearch(&set, &count, nullptr), 1);
    ASSERT_EQ(count, 5);
    for (int32_t ordinal = 1; ordinal <= count; ++ordinal) {
        WdbRecordControl* made = nullptr;
        int32_t number = 0;
        char base[WDB_BASE_NAME_SIZE];
        ASSERT_EQ(WdbCreateRecordControl(&made), 1);
        ASSERT_EQ(WdbGetRecordInSearchRis(made, set, ordinal, &number, base), 1);
        EXPECT_EQ(number, ordinal);
        ASSERT_EQ(WdbSetBase(made, base, WDB_MODE_DELETE), 1);
        ASSERT_EQ(WdbDeleteRecordInBase(made), 1);
        ASSERT_EQ(WdbDeleteRecordControl(&made), 1);
    }
    ASSERT_EQ(ccl("FIND R=FROM 1"), 1);
    EXPECT_EQ(found().size(), 0u) << "before any index job";
    WdbRecordControl* made = nullptr;
    ASSERT_EQ(WdbCreateRecordControl(&made), 1);
    EXPECT_EQ(WdbGetRecordInSearchRis(made, set, 1, nullptr, nullptr), WDB_E_DELETED);
    EXPECT_EQ(WdbGetRecordInSearchRis(made, set, 6, nullptr, nullptr), 0);
    EXPECT_EQ(WdbGetRecordInSearchRis(made, 99, 1, nullptr, nullptr), WDB_E_CCL_SET);
    ASSERT_EQ(WdbDeleteRecordControl(&made), 1);
    ASSERT_EQ(WdbLoadStatus(3), 1);
    EXPECT_EQ(find("FIND T.A=x").size(), 0u);
}

TEST_F(Statements, SelectDeliversRowsUntilTheEnd) {
    ASSERT_EQ(insert("T", {"b", "text one", "1"}), 1);
    ASSERT_EQ(insert("T", {"a", "", "2"}), 1);
    ASSERT_EQ(insert("T", {"c", "text three", ""}), 1);
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(ccl("BAS T"), 1);
    ASSERT_EQ(ccl("SEL  FRL(T) FIELD(T.A,T.B,T.N)  SORT(T.A)"), 1);
    int32_t set = 0, rows = 0;
    ASSERT_EQ(WdbSearchResult(&set, &rows, nullptr, nullptr, nullptr), 1);
    ASSERT_EQ(rows, 3);
    WdbRecordControl* made = control("T", WDB_MODE_DELETE);
    std::string delivered;
    for (int32_t index = 0;; ++index) {
        if (index == 1) {
            ASSERT_EQ(WdbGetRecordInBase(made, 1), 1);
            ASSERT_EQ(WdbDeleteRecordInBase(made), 1);
        }
        char* items = nullptr;
        uint32_t* words = nullptr;
        const int32_t status = WdbGetRows(set, index, 1, &items, &words);
        delivered += "(" + std::to_string(status);
        if (status == 1) {
            size_t at = 0;
            for (uint32_t item = 0; item < words[0]; ++item) {
                const uint32_t length = words[2 + 2 * item], flags = words[3 + 2 * item];
                delivered += " " + std::to_string(flags) + ":" + std::string(items + at, length);
                at += length + ((flags & 128) != 0 ? 1 : 0);
            }
            EXPECT_EQ(items[at], '\0');
            delivered += " #" + std::to_string(words[2 + 2 * words[0]]);
        } else {
            EXPECT_EQ(items, nullptr);
            EXPECT_EQ(words, nullptr);
        }
        delivered += ")";
        EXPECT_EQ(WdbDeallocate(items), 1);
        EXPECT_EQ(WdbDeallocate(words), 1);
        if (status == 0) break;
    }
    EXPECT_EQ(delivered, "(1 137:a 10: 137:2 #2)(2882)(1 137:c 141:B,3,0 10: #3)(0)");
    EXPECT_EQ(live().rowBuffers, 0);
    EXPECT_EQ(WdbDeleteRecordControl(&made), 1);
    ASSERT_EQ(WdbLoadStatus(3), 1);
    char* items = nullptr;
    uint32_t* words = nullptr;
    EXPECT_EQ(WdbGetRows(set, 0, 1, &items, &words), WDB_E_CCL_SET);
}

TEST_F(Statements, IndexDates) {
    const Stamps fresh = stamps();
    EXPECT_EQ(fresh.modified, fresh.indexed) << "a new base has equal dates";
    EXPECT_EQ(fresh.modified.size(), 26u) << fresh.modified;
    ASSERT_EQ(WdbSetClock("2030-06-07 08:09:10"), 1);
    std::string last = fresh.modified;
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(insert("T", {"x"}), 1);
        const Stamps now = stamps();
        EXPECT_GT(now.modified, last) << "also within one microsecond";
        EXPECT_GT(now.modified, now.indexed);
        EXPECT_EQ(now.records, i + 1);
        last = now.modified;
    }
    EXPECT_EQ(last.substr(0, 20), "2030-06-07 08:09:10.");
    ASSERT_EQ(WdbSetClock("2001-01-01 00:00:00"), 1);
    ASSERT_EQ(insert("T", {"x"}), 1);
    EXPECT_GT(stamps().modified, last) << "also when the clock steps back";
    std::string index = stamps().indexed;
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(WdbBatchLoadIndex(2, "T", ""), 1);
        EXPECT_GE(stamps().indexed, stamps().modified);
        EXPECT_NE(stamps().indexed, index) << "also when there was nothing to do";
        index = stamps().indexed;
    }
    ASSERT_EQ(UpdateRCS("SQL_BATCHINDEX", "1"), 1);
    ASSERT_EQ(insert("T", {"x"}), 1);
    ASSERT_EQ(WdbBatchLoadIndex(2, "T", ""), 1);
    for (int i = 0; i < 1000 && stamps().indexed == index; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    EXPECT_NE(stamps().indexed, index) << "the background job never ended";
    EXPECT_EQ(WdbBatchLoadIndex(3, "T", ""), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbBatchLoadIndex(2, "NOPE", ""), WDB_E_BASE);
}

TEST_F(Statements, Stack) {
    for (int i = 0; i < 70; ++i) ASSERT_EQ(WdbSaveStatus(), 1);
    EXPECT_EQ(info(7), 64);
    for (int i = 0; i < 64; ++i) ASSERT_EQ(WdbLoadStatus(3), 1) << i;
    EXPECT_EQ(WdbLoadStatus(3), WDB_E_NO_STATUS);
    EXPECT_EQ(WdbLoadStatus(0), WDB_E_ARGUMENT);
    EXPECT_EQ(WdbLoadStatus(4), WDB_E_ARGUMENT);
}

TEST_F(Statements, WriteUnits) {
    WdbSession* other = open();
    const auto otherFinds = [&] {
        EXPECT_EQ(WdbBindSession(nullptr), WDB_E_SESSION_BUSY) << "a unit stays on its thread";
        size_t count = 99;
        std::thread([&] {
            EXPECT_EQ(WdbBindSession(other), 1);
            count = find("FIND T.R=FROM 1").size();
            EXPECT_EQ(WdbBindSession(nullptr), 1);
        }).join();
        return count;
    };
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(insert("T", {"x"}), 1);
    ASSERT_EQ(insert("T", {"x"}), 1);
    EXPECT_EQ(find("FIND T.R=FROM 1").size(), 2u) << "its own writes";
    EXPECT_EQ(otherFinds(), 0u);
    ASSERT_EQ(WdbLoadStatus(3), 1);
    std::thread([&] {
        EXPECT_EQ(WdbBindSession(other), 1);
        EXPECT_EQ(find("FIND T.R=FROM 1").size(), 2u);
        EXPECT_EQ(WdbBindSession(nullptr), 1);
    }).join();

    // The unit belongs to the status on top at its first write, whatever lies below.
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(insert("T", {"x"}), 1);
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(insert("T", {"x"}), 1);
    ASSERT_EQ(WdbLoadStatus(3), 1);
    EXPECT_EQ(otherFinds(), 2u) << "nested writes join the outer unit";
    ASSERT_EQ(WdbLoadStatus(3), 1);
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(insert("T", {"x"}), 1);
    ASSERT_EQ(WdbLoadStatus(3), 1);
    ASSERT_EQ(WdbBindSession(other), 1) << "committed by the first restore: nothing binds the session";
    EXPECT_EQ(find("FIND T.R=FROM 1").size(), 5u);
    ASSERT_EQ(WdbBindSession(session_), 1);
    ASSERT_EQ(WdbLoadStatus(3), 1);

    // When the oldest status falls off, its unit passes to the next one.
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(insert("T", {"x"}), 1);
    for (int i = 0; i < 64; ++i) ASSERT_EQ(WdbSaveStatus(), 1);
    for (int i = 0; i < 63; ++i) ASSERT_EQ(WdbLoadStatus(3), 1);
    EXPECT_EQ(otherFinds(), 5u);
    ASSERT_EQ(WdbLoadStatus(3), 1);
    ASSERT_EQ(WdbBindSession(other), 1);
    EXPECT_EQ(find("FIND T.R=FROM 1").size(), 6u);
    ASSERT_EQ(WdbBindSession(session_), 1);

    // A unit that is open when its session is closed is dropped.
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(insert("T", {"x"}), 1);
    ASSERT_EQ(WdbCloseSession(&session_), 1);
    session_ = other;
    ASSERT_EQ(WdbBindSession(session_), 1);
    EXPECT_EQ(find("FIND T.R=FROM 1").size(), 6u);
    EXPECT_EQ(insert("T", {"x"}), 1) << "the lock is free";
}

TEST_F(Statements, RefusedWritesKeepNoLock) {
    createBase("K", {{"ID", "INTEGER", true}}, "ID");
    ASSERT_EQ(insert("K", {"1"}), 1);
    ASSERT_EQ(WdbSaveStatus(), 1);
    EXPECT_EQ(insert("K", {"1"}), WDB_E_DUPLICATE);
    EXPECT_EQ(insert("K", {""}), WDB_E_MANDATORY);
    WdbSession* other = open();
    ASSERT_EQ(WdbBindSession(other), 1);
    ASSERT_EQ(UpdateRCS("WDB_LOCK_WAIT", "50"), 1);
    EXPECT_EQ(insert("K", {"2"}), 1);
    ASSERT_EQ(WdbBindSession(session_), 1);
    EXPECT_EQ(insert("K", {"3"}), 1);
    EXPECT_EQ(insert("K", {"3"}), WDB_E_DUPLICATE) << "against the unit's own record";
    EXPECT_EQ(insert("K", {"4"}), 1) << "a refusal does not end the unit";
    ASSERT_EQ(WdbLoadStatus(3), 1);
    EXPECT_EQ(find("FIND K.R=FROM 1").size(), 4u);
    ASSERT_EQ(WdbCloseSession(&other), 1);
}

TEST_F(Statements, OneWriterAcrossThreadsAndProcesses) {
    WdbSession* other = open();
    ASSERT_EQ(WdbSaveStatus(), 1);
    ASSERT_EQ(insert("T", {"x"}), 1);
    std::thread([&] {
        EXPECT_EQ(WdbBindSession(other), 1);
        EXPECT_EQ(UpdateRCS("WDB_LOCK_WAIT", "50"), 1);
        EXPECT_EQ(insert("T", {"y"}), WDB_E_LOCKED);
        EXPECT_EQ(WdbBindSession(nullptr), 1);
    }).join();
    ASSERT_EQ(WdbLoadStatus(3), 1);
    ASSERT_EQ(WdbBindSession(other), 1);
    EXPECT_EQ(insert("T", {"y"}), 1) << "works after the unit's end";
    EXPECT_EQ(find("FIND T.R=FROM 1").size(), 2u);
    ASSERT_EQ(WdbBindSession(session_), 1);
    EXPECT_EQ(WdbCloseSession(&other), 1);
}

TEST_F(Statements, ThreadsWithTheirOwnSessions) {
    constexpr int kEach = 40;
    EXPECT_EQ(WdbBindSession(nullptr), 1);
    EXPECT_EQ(WdbSaveStatus(), WDB_E_NO_SESSION);
    EXPECT_EQ(WdbBoundSession(), nullptr);
    const auto work = [&](const char* word) {
        WdbSession* own = open();
        ASSERT_EQ(WdbBindSession(own), 1);
        EXPECT_EQ(WdbBoundSession(), own);
        for (int i = 1; i <= kEach; ++i) {
            ASSERT_EQ(insert("T", {word, "some text"}), 1);
            ASSERT_EQ(find(std::string("FIND T.A=") + word).size(), static_cast<size_t>(i));
        }
        ASSERT_EQ(WdbCloseSession(&own), 1);
    };
    std::thread one(work, "one"), two(work, "two");
    one.join();
    two.join();
    ASSERT_EQ(WdbBindSession(session_), 1);
    std::thread([&] {
        EXPECT_EQ(WdbBindSession(session_), WDB_E_SESSION_BUSY);
        EXPECT_EQ(WdbCloseSession(&session_), WDB_E_SESSION_BUSY);
        EXPECT_NE(session_, nullptr);
        WdbLiveCounts counts;
        EXPECT_EQ(WdbLiveHandles(&counts), WDB_E_NO_SESSION);
    }).join();
    EXPECT_EQ(find("FIND T.B=text").size(), static_cast<size_t>(2 * kEach));
    EXPECT_EQ(WdbVerifyBase("T", 0, nullptr, nullptr), 1);
}

TEST_F(Statements, ThreadThatEndsGivesItsSessionBack) {
    WdbSession* other = open();
    std::thread([&] {
        ASSERT_EQ(WdbBindSession(other), 1);
        ASSERT_EQ(WdbSaveStatus(), 1);
        ASSERT_EQ(insert("T", {"lost"}), 1);
    }).join();
    ASSERT_EQ(WdbBindSession(other), 1);
    EXPECT_EQ(find("FIND T.R=FROM 1").size(), 0u) << "what was not committed is gone";
    EXPECT_EQ(WdbLoadStatus(3), WDB_E_STORAGE) << "and whoever ends the statement is told";
    ASSERT_EQ(WdbBindSession(session_), 1);
    EXPECT_EQ(insert("T", {"kept"}), 1) << "and the lock is free";
    EXPECT_EQ(WdbCloseSession(&other), 1);
}

}  // namespace
