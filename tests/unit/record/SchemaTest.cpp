#include "kernel/record/Schema.h"

#include <gtest/gtest.h>

namespace wdb {
namespace {

FieldDefinition field(FieldNumber number, std::string name, FieldType type = FieldType::Phrase) {
    FieldDefinition definition;
    definition.number = number;
    definition.name = std::move(name);
    definition.type = type;
    return definition;
}

TEST(Schema, FindsByNumberAndByName) {
    FieldDefinition serial = field(4, "ID", FieldType::Integer);
    serial.serial = true;
    const Schema schema({serial, field(1, "Title"), field(2, "a b")}, 1);
    EXPECT_EQ(schema.find(FieldNumber{1})->name, "Title");
    EXPECT_EQ(schema.find(FieldNumber{3}), nullptr) << "a gap";
    EXPECT_EQ(schema.find(FieldNumber{0}), nullptr);
    EXPECT_EQ(schema.find(FieldNumber{5}), nullptr);
    EXPECT_EQ(schema.find("tItLe   ")->number, 1) << "case and trailing blanks do not count";
    EXPECT_EQ(schema.find("A B")->number, 2);
    EXPECT_EQ(schema.find(" title"), nullptr) << "leading blanks do";
    EXPECT_EQ(schema.find("titl"), nullptr);
    EXPECT_EQ(schema.find("a name that is longer than any field"), nullptr);
    EXPECT_EQ(schema.find(""), nullptr);
    EXPECT_EQ(schema.uniqueKey()->number, 1);
    EXPECT_EQ(schema.serial()->number, 4);
    EXPECT_EQ(schema.highest(), 4);
}

TEST(Schema, FlagWord) {
    FieldDefinition definition = field(1, "X");
    EXPECT_EQ(definition.flags(), WDB_F_NULLABLE);
    definition.indexed = definition.serial = definition.part = definition.key = definition.plain =
        definition.mandatory = true;
    EXPECT_EQ(definition.flags(), WDB_F_INDEXED | WDB_F_SERIAL | WDB_F_PART | WDB_F_UNIQUE | WDB_F_PLAIN);
}

TEST(Schema, TypeNames) {
    for (const int code : {1, 3, 9, 10, 11, 12, 14}) {
        ASSERT_TRUE(typeOfCode(code)) << code;
        EXPECT_EQ(typeOfName(typeName(*typeOfCode(code))), typeOfCode(code)) << code;
    }
    EXPECT_EQ(typeOfName("string "), FieldType::String);
    EXPECT_FALSE(typeOfName("BLOB"));
    EXPECT_FALSE(typeOfCode(2));
}

}  // namespace
}  // namespace wdb
