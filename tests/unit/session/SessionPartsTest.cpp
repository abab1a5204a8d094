// Parts of a session that stand for themselves.
#include <gtest/gtest.h>

#include "kernel/record/ObjectSpool.h"
#include "kernel/session/Charset.h"
#include "kernel/session/HandleTable.h"
#include "kernel/session/OwnCommits.h"
#include "kernel/session/SessionClock.h"

namespace wdb {
namespace {

TEST(Charset, ConvertsBothWays) {
    struct Row {
        int32_t id;
        const char* bytes;
        const char* utf8;
    };
    const Row rows[] = {{1, "caf\xE9 \x80", "caf\u00e9 \u20ac"},
                        {2, "\xB1", "\u0105"},
                        {3, "\xE6", "\u0109"},
                        {17, "\xD6\xD0", "\u4e2d"},
                        {18, "\xD6\xD0", "\u4e2d"},
                        {20, "\x93\xFA", "\u65e5"},
                        {16, "caf\xC3\xA9", "caf\u00e9"}};
    for (const Row& row : rows) {
        auto charset = Charset::byId(row.id);
        ASSERT_TRUE(charset) << row.id;
        EXPECT_EQ(charset->toUtf8(row.bytes), row.utf8) << row.id;
        EXPECT_EQ(charset->fromUtf8(row.utf8), row.bytes) << row.id;
        EXPECT_EQ(Charset::byName(charset->name())->id(), row.id);
    }
    EXPECT_EQ(Charset::byId(18)->toUtf8("a\xD6"), "a") << "an incomplete character at the end is dropped";
    EXPECT_EQ(Charset::byId(1)->fromUtf8("\u4e2d").size(), 1u)
        << "a substitute for what the set does not have";
    EXPECT_FALSE(Charset::byId(4));
    EXPECT_TRUE(Charset::unknown().passes());
}

TEST(Charset, IncompleteUtf8) {
    struct Row {
        std::string text;
        size_t kept;
        const char* reason;
    };
    const Row rows[] = {{"abc", 3, "ASCII"},
                        {"a\xC3\xA9", 3, "whole"},
                        {"a\xC3", 1, "lead alone"},
                        {"\xE4\xB8", 0, "two of three"},
                        {"\xF0\x9F\x98", 0, "three of four"},
                        {"\xF0\x9F\x98\x80", 4, "four"},
                        {"a\x80\x80", 3, "stray bytes are no character that could be completed"},
                        {"\x80", 1, "nor is one alone"},
                        {"", 0, "nothing"}};
    for (const Row& row : rows)
        EXPECT_EQ(Charset::dropIncompleteUtf8(row.text).size(), row.kept) << row.reason;
}

TEST(SessionClock, CalendarAndMicrosecondsAgree) {
    for (const DayNumber day : {101, 16000229, 19691231, 19700101, 20000229, 20240229, 20241231, 99991231}) {
        const LocalTime time{day, 86399, 999999};
        const LocalTime back = toLocalTime(toMicros(time));
        EXPECT_EQ(back.day, day);
        EXPECT_EQ(back.second, 86399);
        EXPECT_EQ(back.micro, 999999);
        EXPECT_EQ(toMicros(toLocalTime(toMicros(time) + 1)), toMicros(time) + 1)
            << "over midnight of " << day;
    }
    EXPECT_EQ(toMicros({19700102, 1, 5}), int64_t{86401} * 1000000 + 5);
}

TEST(SessionClock, DateAndTimeBelongTogether) {
    SessionClock clock;
    ASSERT_EQ(clock.fix("2024-12-31 23:59:59"), WDB_OK);
    clock.dateCall();
    clock.run();
    const LocalTime now = clock.now();
    EXPECT_EQ(clock.dateCall().day, now.day);
    EXPECT_LE(clock.timeCall().second - now.second, 1) << "the instant of the date call";
}

TEST(OwnCommits, RangesOfNumbers) {
    OwnCommits own;
    for (const uint64_t commit : {3, 4, 5, 9, 20, 21}) own.add(1, commit);
    for (const uint64_t commit : {3, 4, 5, 9, 20, 21}) EXPECT_TRUE(own.contains(1, commit)) << commit;
    for (const uint64_t commit : {2, 6, 8, 10, 19, 22}) EXPECT_FALSE(own.contains(1, commit)) << commit;
    EXPECT_FALSE(own.contains(2, 3));
    for (uint64_t i = 0; i < 2 * OwnCommits::kMaxRanges; ++i) own.add(1, 100 + 2 * i);
    EXPECT_FALSE(own.contains(1, 3)) << "the oldest are forgotten";
    EXPECT_TRUE(own.contains(1, 100 + 2 * (2 * OwnCommits::kMaxRanges - 1)));
}

struct Thing {
    int value = 0;
    void reset() { value = 0; }
};

TEST(HandleTable, DeadStaysDead) {
    HandleTable<Thing> one(7), two(8);
    const uint64_t first = one.add();
    one.object(first).value = 5;
    EXPECT_EQ(two.find(first), nullptr) << "another table's";
    one.remove(first);
    const uint64_t second = one.add();
    EXPECT_EQ(one.find(first), nullptr) << "the slot is in use again";
    ASSERT_NE(one.find(second), nullptr);
    EXPECT_EQ(one.find(second)->value, 0) << "emptied";
    EXPECT_TRUE(one.wasAlive(first));
    EXPECT_FALSE(one.wasAlive(second));
    EXPECT_FALSE(one.wasAlive(second + 1));
    EXPECT_FALSE(two.wasAlive(first));
    EXPECT_EQ(one.size(), 1u);
}

TEST(ObjectSpool, MemoryThenFile) {
    ObjectSpool spool;
    const std::string block(1 << 20, 'b');
    for (int i = 0; i < 6; ++i) ASSERT_EQ(spool.append(block), WDB_OK);
    ASSERT_EQ(spool.append("end"), WDB_OK);
    ASSERT_EQ(spool.size(), 6 * block.size() + 3);
    char buffer[8] = {};
    EXPECT_EQ(*spool.read(spool.size() - 4, buffer, 8), 4u);
    EXPECT_STREQ(buffer, "bend");
    EXPECT_EQ(*spool.read(spool.size(), buffer, 8), 0u);
    ASSERT_EQ(spool.append("more"), WDB_OK) << "after reading";
    EXPECT_EQ(*spool.read(spool.size() - 5, buffer, 5), 5u);
    EXPECT_EQ(std::string(buffer, 5), "dmore");
}

}  // namespace
}  // namespace wdb
