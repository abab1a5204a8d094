#include "kernel/ccl/Reader.h"

#include <gtest/gtest.h>

#include "kernel/ccl/Printer.h"
#include "tests/unit/ccl/CommandLines.h"

namespace wdb::ccl {
namespace {

using namespace command_lines;

TEST(ReaderTest, AcceptedLinesMakeTheirTree) {
    for (const Accepted& row : kAccepted) {
        size_t position = 0;
        const auto command = readCommand(row.line, CommandWords(), &position);
        ASSERT_TRUE(command) << row.line << " refused at " << position;
        EXPECT_EQ(printCommand(*command), row.canonical) << row.line;
    }
}

TEST(ReaderTest, TheCanonicalFormReadsAsItself) {
    for (const Accepted& row : kAccepted) {
        size_t position = 0;
        const auto command = readCommand(row.canonical, CommandWords(), &position);
        ASSERT_TRUE(command) << row.canonical << " refused at " << position;
        EXPECT_EQ(printCommand(*command), row.canonical) << row.line;
    }
}

TEST(ReaderTest, RefusedLinesTellThePlace) {
    for (const Refused& row : kRefused) {
        size_t position = 12345;
        const auto command = readCommand(row.line, CommandWords(), &position);
        EXPECT_EQ(command.status(), WDB_E_CCL_SYNTAX) << row.line << ": " << row.reason;
        EXPECT_EQ(position, row.position) << row.line << ": " << row.reason;
    }
}

TEST(ReaderTest, EscapesAndWildcardsBecomePieces) {
    size_t position = 0;
    const auto command = readCommand("FIND T.A=a\\$b$c\\d!\\! \"x \"\"y\\_\"", CommandWords(), &position);
    ASSERT_TRUE(command);
    const Value& value = std::get<FindCommand>(*command).expression.criteria[0].low;
    ASSERT_EQ(value.pieces.size(), 5u);
    EXPECT_EQ(value.pieces[0].text, "a$b");
    EXPECT_EQ(value.pieces[1].kind, ValuePiece::Kind::AnyRun);
    EXPECT_EQ(value.pieces[2].text, "c\\d");
    EXPECT_EQ(value.pieces[3].kind, ValuePiece::Kind::AnyCharacter);
    EXPECT_EQ(value.pieces[4].text, "! x \"y_");
    EXPECT_EQ(value.prefix(), "a$b");
}

}  // namespace
}  // namespace wdb::ccl
