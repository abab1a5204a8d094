#include "kernel/ccl/CommandWords.h"

#include <gtest/gtest.h>

#include "kernel/ccl/Printer.h"
#include "kernel/ccl/Reader.h"

namespace wdb::ccl {
namespace {

TEST(CommandWordsTest, OwnSpellingsAreReadBesideTheOthers) {
    CommandWords words;
    words.define(Word::Fin, "SUCHE");
    words.define(Word::And, "und");
    words.define(Word::Ftl, "BIS");
    for (const char* line :
         {"SUCHE T.A=1 bis 2 UND T.B=x y", "FIND T.A=1 TO 2 AND T.B=x y", "FIN T.A=1 FTL 2 UND T.B=x y"}) {
        size_t position = 0;
        const auto command = readCommand(line, words, &position);
        ASSERT_TRUE(command) << line << " at " << position;
        EXPECT_EQ(printCommand(*command), "FIN ( T.A = 1 FTL 2 AND T.B = \"x y\" )") << line;
    }
}

TEST(CommandWordsTest, AnOwnSpellingCanBeTakenAway) {
    CommandWords words;
    words.define(Word::Bas, "OPEN");
    words.define(Word::Bas, "");
    size_t position = 9;
    EXPECT_FALSE(readCommand("OPEN T", words, &position));
    EXPECT_EQ(position, 0u);
    EXPECT_TRUE(readCommand("BASE T", words, &position));
}

TEST(CommandWordsTest, CanonicalNamesFindTheirWords) {
    EXPECT_EQ(wordByCanonicalName("orx"), Word::Orx);
    EXPECT_EQ(wordByCanonicalName("OR"), std::nullopt) << "only the canonical spelling names a word";
    EXPECT_EQ(englishWord(Word::Sfx), "SUBSELECT");
}

}  // namespace
}  // namespace wdb::ccl
