#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "src/parser/Keywords.h"
#include "src/parser/WSQLSymbolTable.h"

namespace wsql {
namespace {

WSQLSymbolTable* loaded(WSQLSymbolTable& table) {
    loadKeywords(table);
    return &table;
}

TEST(Keywords, AreFoundInAnyLetterCase) {
    WSQLSymbolTable table;
    loaded(table);
    struct Row {
        const char* word;
        int32_t code;  // 0: no keyword
    };
    for (const Row& row : {Row{"LiKe", 263}, Row{"likes", 0}, Row{"lik", 0}, Row{"varchar", 324},
                           Row{"CHAR", 324}, Row{"and", 258}, Row{"DATA", 360}, Row{"select", 274},
                           Row{"current_timestamp", 352}, Row{"notlike", 0}, Row{"", 0}}) {
        const WSQLSymbol* found = table.Find(row.word);
        EXPECT_EQ(found != nullptr ? found->code() : 0, row.code) << row.word;
    }
}

TEST(Keywords, HoldNinetyTwoEntriesOfNinetyOneWords) {
    std::set<std::string> words;
    for (const Keyword& keyword : keywords()) words.insert(keyword.word);
    EXPECT_EQ(keywords().size(), 92u);
    EXPECT_EQ(words.size(), 91u);
}

TEST(Keywords, LieWhereTheTableWouldPutThem) {
    WSQLSymbolTable table, byHand;
    byHand.SetCaseSensitive(false);
    loaded(table);
    for (const WSQLSymbol* symbol = table.head(); symbol != nullptr; symbol = symbol->nextAll())
        EXPECT_EQ(byHand.Add(symbol->name(), 1)->hash(), symbol->hash()) << symbol->name();
}

TEST(Keywords, LoadingAgainReplacesThem) {
    WSQLSymbolTable table;
    loaded(table);
    loaded(table);
    int symbols = 0;
    for (const WSQLSymbol* symbol = table.head(); symbol != nullptr; symbol = symbol->nextAll()) ++symbols;
    EXPECT_EQ(symbols, 92);
}

TEST(SymbolTable, LaterSymbolHidesEarlier) {
    WSQLSymbolTable table;
    table.Add("a", 1);
    const WSQLSymbol* second = table.Add("a", 2);
    EXPECT_EQ(table.Find("a"), second);
    EXPECT_EQ(second->nextInBucket()->code(), 1);
    EXPECT_EQ(table.head(), second);
}

TEST(SymbolTable, CopiesNamesUnlessToldOtherwise) {
    char name[] = "first";
    WSQLSymbolTable copying;
    const WSQLSymbol* copy = copying.Add(name, 1);
    WSQLSymbolTable borrowing;
    borrowing.SetCopyNames(0);
    const WSQLSymbol* borrowed = borrowing.Add(name, 1);
    EXPECT_TRUE(copy->ownsName());
    EXPECT_EQ(borrowed->name(), name);
    std::strcpy(name, "other");
    EXPECT_STREQ(copy->name(), "first");
}

TEST(SymbolTable, BucketIsTheByteSum) {
    WSQLSymbolTable table;
    EXPECT_EQ(table.Add("", 1)->hash(), 0u);
    EXPECT_EQ(table.Add("\x80\x80", 2)->hash(), 0u) << "bytes are signed: -128 twice";
    EXPECT_EQ(table.Add("\xff", 3)->hash(), 255u);
    EXPECT_EQ(table.Add("ab", 4)->hash(), ('a' + 'b') % 256u);
    table.SetCaseSensitive(false);
    EXPECT_EQ(table.Add("ab", 5)->hash(), ('A' + 'B') % 256u);
}

TEST(SymbolTable, LetterCaseCountsOnlyWhenSensitive) {
    WSQLSymbolTable table;
    table.Add("Word", 1);
    EXPECT_NE(table.Find("Word"), nullptr);
    EXPECT_EQ(table.Find("word"), nullptr);
    WSQLSymbolTable folding;
    folding.SetCaseSensitive(false);
    folding.Add("Word", 1);
    EXPECT_NE(folding.Find("wORD"), nullptr);
    folding.Add("\xe4", 2);
    EXPECT_EQ(folding.Find("\xc4"), nullptr) << "only ASCII letters have case";
}

TEST(SymbolTable, CurrentScopeLookupStopsAtLowerLevels) {
    WSQLSymbolTable table;
    table.Add("a", 1);
    table.SetLevel(1);
    table.SetLookupMode(WSQLSymbolTable::kCurrentScope);
    EXPECT_EQ(table.Find("a"), nullptr);
    table.Add("a", 2);
    ASSERT_NE(table.Find("a"), nullptr);
    EXPECT_EQ(table.Find("a")->code(), 2);
    table.SetLookupMode(WSQLSymbolTable::kWholeChain);
    table.SetLevel(2);
    EXPECT_NE(table.Find("a"), nullptr);
}

TEST(SymbolTable, TellsOfEachInsertion) {
    static int calls;
    calls = 0;
    WSQLSymbolTable table(
        [](WSQLSymbol* symbol, uint32_t hash) { calls += symbol->hash() == hash ? 1 : 100; });
    for (int i = 0; i < 300; ++i) table.Add("x", i);
    EXPECT_EQ(calls, 300);
    EXPECT_EQ(table.Find("x")->code(), 299);
}

}  // namespace
}  // namespace wsql
