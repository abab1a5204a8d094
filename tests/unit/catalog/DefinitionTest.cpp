#include <gtest/gtest.h>

#include "kernel/catalog/BaseDefinition.h"
#include "kernel/catalog/CatalogLayout.h"
#include "kernel/catalog/Names.h"
#include "kernel/catalog/Passwords.h"

namespace wdb {
namespace {

BaseDefinition sample() {
    BaseDefinition definition;
    definition.id = 7;
    definition.name = "PACKAGES";
    definition.baseFile = "WELKSQL$BASES:PACKAGES.BAF";
    definition.comment = "a comment";
    definition.charset = "MUL";
    definition.owner = "owner";
    definition.uniqueKey = 3;
    definition.highestField = 9;
    definition.generation = 4;
    definition.version = 1ull << 40;
    FieldDefinition name;
    name.number = 3;
    name.name = "a b";
    name.type = FieldType::Phrase;
    name.indexed = name.mandatory = name.hasDefault = true;
    name.defaultValue = std::string("d\0e", 3);
    FieldDefinition text;
    text.number = 9;
    text.name = "TEXT";
    text.type = FieldType::Text;
    text.plain = text.part = true;
    text.reference = "T.C";
    definition.schema = std::make_shared<const Schema>(std::vector{name, text}, FieldNumber{3});
    definition.rules = {{3, "OTHER", "KEY", WDB_ACT_CASCADE, WDB_ACT_SET_NULL}};
    return definition;
}

TEST(BaseDefinitionTest, ComesBackAsItWent) {
    const BaseDefinition before = sample();
    const auto after = decodeDefinition(encodeDefinition(before));
    ASSERT_TRUE(after);
    EXPECT_EQ(encodeDefinition(*after), encodeDefinition(before));
    EXPECT_EQ(after->schema->fields(), before.schema->fields());
    EXPECT_EQ(after->rules, before.rules);
    EXPECT_EQ(after->version, before.version);
    EXPECT_EQ(after->schema->uniqueKey()->name, "a b");
}

TEST(BaseDefinitionTest, EveryCutAndEveryBentByteIsAStatusOrADefinition) {
    const std::string bytes = encodeDefinition(sample());
    for (size_t size = 0; size < bytes.size(); ++size) {
        EXPECT_EQ(decodeDefinition(Slice(bytes).substr(0, size)).status(), WDB_E_CORRUPT) << size;
    }
    EXPECT_EQ(decodeDefinition(bytes + "x").status(), WDB_E_CORRUPT);
    for (size_t at = 0; at < bytes.size(); ++at) {
        std::string bent = bytes;
        bent[at] = static_cast<char>(bent[at] ^ 0xFF);
        const auto decoded = decodeDefinition(bent);
        EXPECT_TRUE(!decoded || decoded->schema != nullptr) << at;
    }
}

TEST(NamesTest, OfBasesAndFields) {
    const struct {
        std::string name;
        bool base;
        bool field;
        const char* reason;
    } rows[] = {{"A", true, true, "shortest"},
                {"", false, false, "empty"},
                {std::string(60, 'A'), true, false, "longest base name"},
                {std::string(61, 'A'), false, false, "too long"},
                {std::string(15, 'A'), true, true, "longest field name"},
                {"A_1", true, true, "letters, digits, underscores"},
                {"1A", false, true, "a digit first"},
                {"_A", false, true, "an underscore first"},
                {"a b", false, true, "a blank inside"},
                {" a", false, false, "a blank in front"},
                {"a.b", false, false, "a point"},
                {"a\"b", false, false, "a quote"},
                {"a\tb", false, false, "a control character"},
                {"../A", false, false, "a path"},
                {"\xC3\x84", true, true, "bytes from 128 up are letters"}};
    for (const auto& row : rows) {
        EXPECT_EQ(validBaseName(row.name), row.base) << row.reason;
        EXPECT_EQ(validFieldName(row.name), row.field) << row.reason;
    }
}

TEST(PasswordsTest, MatchTheirHashOnly) {
    EXPECT_EQ(*hashPassword(""), "");
    EXPECT_TRUE(passwordMatches("", ""));
    EXPECT_FALSE(passwordMatches("", "x"));
    const auto hash = hashPassword("secret");
    ASSERT_TRUE(hash);
    EXPECT_EQ(hash->find("secret"), std::string::npos);
    EXPECT_TRUE(passwordMatches(*hash, "secret"));
    EXPECT_FALSE(passwordMatches(*hash, "Secret"));
    EXPECT_FALSE(passwordMatches(*hash, ""));
    EXPECT_FALSE(passwordMatches("no hash", "secret"));
    EXPECT_FALSE(passwordMatches(std::string(500, 'x'), "secret"));
}

TEST(SettingsFileTest, Lines) {
    const auto settings = catalog_layout::parseSettings(
        "# NO=comment\r\nA=1\n b = two words \nEMPTY=\n=nameless\nno equals\nA=later=wins\nLAST=end");
    const std::map<std::string, std::string, std::less<>> expected{
        {"A", "later=wins"}, {"B", "two words"}, {"EMPTY", ""}, {"LAST", "end"}};
    EXPECT_EQ(settings, expected);
}

}  // namespace
}  // namespace wdb
