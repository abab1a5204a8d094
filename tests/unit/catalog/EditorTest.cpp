#include <gtest/gtest.h>

#include "tests/unit/catalog/HomeFixture.h"

namespace wdb {
namespace {

class EditorTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(home_.shared(), nullptr); }

    TempDirectory parent_;
    Home home_{parent_ / "home"};
};

const DefinitionEditor::RenderDefault kRender = [](const FieldDefinition& field) {
    return field.defaultValue;
};
const DefinitionEditor::ParseDefault kParse = [](const FieldDefinition& field) -> Result<std::string> {
    return field.type == FieldType::Phrase ? Result<std::string>("default")
                                           : Result<std::string>(Status{WDB_E_VALUE});
};

TEST_F(EditorTest, NeedsACurrentDefinition) {
    DefinitionEditor editor = home_.editor();
    WdbFieldSpec spec = fieldSpec("A", "PHRASE");
    EXPECT_EQ(editor.getFieldSpec(&spec, kRender), WDB_E_NO_DEFINITION);
    EXPECT_EQ(editor.putFieldSpec(spec), WDB_E_NO_DEFINITION);
    EXPECT_EQ(editor.putDefaultValue(spec, kParse), WDB_E_NO_DEFINITION);
    EXPECT_EQ(editor.setForeignKey("A", "T", "B", 1, 1), WDB_E_NO_DEFINITION);
    EXPECT_EQ(editor.putBaseDef(Home::owner(), {}, home_.locations(), kPatience, 1), WDB_E_NO_DEFINITION);
    WdbBaseDef def{};
    ASSERT_EQ(editor.getBaseDef(Home::owner(), "T", &def), WDB_OK);
    EXPECT_EQ(editor.getBaseDef(Home::owner(), "1T", &def), WDB_E_NAME);
    EXPECT_EQ(editor.putFieldSpec(spec), WDB_E_NO_DEFINITION) << "a failed get leaves none";
}

TEST_F(EditorTest, RightsOfOwnersAdministratorsAndOthers) {
    DefinitionEditor editor = home_.editor();
    WdbBaseDef def{};
    EXPECT_EQ(editor.getBaseDef({"guest", false, false, false}, "NEW", &def), WDB_E_RIGHT);
    EXPECT_EQ(editor.getBaseDef({"maker", false, true, false}, "NEW", &def), WDB_OK);
    ASSERT_EQ(home_.createBase("T"), WDB_OK);
    EXPECT_EQ(editor.getBaseDef({"maker", false, true, false}, "T", &def), WDB_E_RIGHT);
    EXPECT_EQ(editor.getBaseDef({"OWNER", false, false, false}, "T", &def), WDB_OK);
    EXPECT_STREQ(def.owner, "owner");
    EXPECT_STREQ(def.uniqueKey, "NAME");
    EXPECT_EQ(def.highestField, 3);
    EXPECT_EQ(def.isNew, 0);
    EXPECT_EQ(editor.putBaseDef({"OWNER", false, false, true}, def, home_.locations(), kPatience, 1),
              WDB_E_READ_ONLY);
}

TEST_F(EditorTest, FieldsThatDoNotFit) {
    DefinitionEditor editor = home_.editor();
    WdbBaseDef def{};
    ASSERT_EQ(editor.getBaseDef(Home::owner(), "T", &def), WDB_OK);
    const auto with = [](WdbFieldSpec spec, uint8_t WdbFieldSpec::*flag) {
        spec.*flag = 1;
        return spec;
    };
    const struct {
        WdbFieldSpec spec;
        Status status;
        const char* reason;
    } rows[] = {
        {fieldSpec("A", "PHRASE"), WDB_OK, "plain"},
        {fieldSpec("a ", "TEXT"), WDB_E_EXISTS, "the same name"},
        {fieldSpec("", "TEXT"), WDB_E_NAME, "no name"},
        {fieldSpec("sixteen_bytes_xx", "TEXT"), WDB_E_NAME, "too long"},
        {fieldSpec("B", "FLOAT"), WDB_E_TYPE, "unknown type"},
        {fieldSpec("B", "integer "), WDB_OK, "type names have no case"},
        {with(fieldSpec("C", "PHRASE"), &WdbFieldSpec::serial), WDB_E_DEFINITION, "serial is for INTEGER"},
        {with(fieldSpec("C", "INTEGER"), &WdbFieldSpec::serial), WDB_OK, "serial"},
        {with(fieldSpec("D", "INTEGER"), &WdbFieldSpec::serial), WDB_E_DEFINITION, "a second serial"},
        {with(fieldSpec("D", "TEXT"), &WdbFieldSpec::wholeValue), WDB_E_DEFINITION, "whole value of a text"},
        {with(fieldSpec("D", "STRING"), &WdbFieldSpec::key), WDB_E_DEFINITION, "an object as key"},
    };
    for (const auto& row : rows) EXPECT_EQ(editor.putFieldSpec(row.spec), row.status) << row.reason;
    WdbFieldSpec got = fieldSpec("c", "");
    EXPECT_EQ(editor.getFieldSpec(&got, kRender), WDB_OK);
    EXPECT_EQ(got.number, 3);
    EXPECT_STREQ(got.typeName, "INTEGER");
    got = fieldSpec("Z", "");
    EXPECT_EQ(editor.getFieldSpec(&got, kRender), WDB_FAIL);
    for (int i = 4; i <= WDB_FIELD_NUMBER_MAX; ++i) {
        ASSERT_EQ(editor.putFieldSpec(fieldSpec(("F" + std::to_string(i)).c_str(), "DATE")), WDB_OK);
    }
    EXPECT_EQ(editor.putFieldSpec(fieldSpec("MORE", "DATE")), WDB_E_DEFINITION) << "too many";
}

TEST_F(EditorTest, DefinitionsThatAreNotStored) {
    const struct {
        std::function<void(WdbBaseDef&)> bend;
        const char* reason;
    } rows[] = {
        {[](WdbBaseDef& def) { std::snprintf(def.name, sizeof def.name, "OTHER"); }, "another name"},
        {[](WdbBaseDef& def) { std::snprintf(def.uniqueKey, sizeof def.uniqueKey, "Z"); },
         "unknown unique key"},
        {[](WdbBaseDef& def) { std::snprintf(def.uniqueKey, sizeof def.uniqueKey, "NOTE"); },
         "a text as unique key"},
        {[](WdbBaseDef& def) { nameFiles(def, "NOWHERE"); }, "unknown location"},
        {[](WdbBaseDef& def) { std::snprintf(def.baseFile, sizeof def.baseFile, "T.BAF"); }, "no location"},
        {[](WdbBaseDef& def) { std::snprintf(def.baseFile, sizeof def.baseFile, "WELKSQL$BASES:../T.BAF"); },
         "a way out"},
        {[](WdbBaseDef& def) { std::snprintf(def.valueFile, sizeof def.valueFile, "WELKSQL$BASES:T.XXX"); },
         "another ending"},
        {[](WdbBaseDef& def) { def.indexFile[0] = 0; }, "no file name"},
    };
    for (const auto& row : rows) {
        DefinitionEditor editor = home_.editor();
        WdbBaseDef def{};
        ASSERT_EQ(editor.getBaseDef(Home::owner(), "T", &def), WDB_OK);
        nameFiles(def);
        EXPECT_EQ(editor.putBaseDef(Home::owner(), def, home_.locations(), kPatience, 1), WDB_E_DEFINITION)
            << "no field";
        ASSERT_EQ(editor.putFieldSpec(fieldSpec("NAME", "PHRASE")), WDB_OK);
        ASSERT_EQ(editor.putFieldSpec(fieldSpec("NOTE", "TEXT")), WDB_OK);
        row.bend(def);
        EXPECT_EQ(editor.putBaseDef(Home::owner(), def, home_.locations(), kPatience, 1), WDB_E_DEFINITION)
            << row.reason;
        EXPECT_EQ(home_->find("T").status(), WDB_E_BASE) << row.reason;
    }
}

TEST_F(EditorTest, TwoMakersOfOneBase) {
    DefinitionEditor slow = home_.editor();
    WdbBaseDef def{};
    ASSERT_EQ(slow.getBaseDef(Home::owner(), "T", &def), WDB_OK);
    nameFiles(def);
    ASSERT_EQ(slow.putFieldSpec(fieldSpec("A", "PHRASE")), WDB_OK);
    ASSERT_EQ(home_.createBase("t"), WDB_OK);
    EXPECT_EQ(slow.putBaseDef(Home::owner(), def, home_.locations(), kPatience, 1), WDB_E_EXISTS);
}

TEST_F(EditorTest, AStoredBaseIsChanged) {
    ASSERT_EQ(home_.createBase("T"), WDB_OK);
    const auto base = home_->find("T");
    ASSERT_TRUE(putRow(home_, *base, 0, "a", "hello"));
    DefinitionEditor editor = home_.editor();
    WdbBaseDef def{};
    ASSERT_EQ(editor.getBaseDef(Home::owner(), "T", &def), WDB_OK);
    EXPECT_EQ(editor.putFieldSpec(fieldSpec("COUNT", "PHRASE")), WDB_E_TYPE) << "there are records";
    ASSERT_EQ(editor.putFieldSpec(fieldSpec("EXTRA", "PHRASE")), WDB_OK);
    ASSERT_EQ(editor.putDefaultValue(fieldSpec("EXTRA", ""), kParse), WDB_OK);
    EXPECT_EQ(editor.putDefaultValue(fieldSpec("COUNT", ""), kParse), WDB_E_VALUE);
    EXPECT_EQ(editor.putDefaultValue(fieldSpec("Z", ""), kParse), WDB_E_FIELD);
    std::snprintf(def.comment, sizeof def.comment, "changed");
    ASSERT_EQ(editor.putBaseDef(Home::owner(), def, home_.locations(), kPatience, 1), WDB_OK);
    EXPECT_EQ(*home_->find("T"), *base) << "what is open stays open";
    EXPECT_EQ((*base)->definition()->comment, "changed");
    EXPECT_EQ((*base)->definition()->schema->find("EXTRA")->defaultValue, "default");
    EXPECT_EQ(findWord(**base, "hello"), std::vector<RecordNumber>{1});
    WdbBaseDef other = def;
    nameFiles(other, "ELSEWHERE");
    EXPECT_EQ(editor.putBaseDef(Home::owner(), other, home_.locations(), kPatience, 1), WDB_E_DEFINITION);
}

TEST_F(EditorTest, ANewUniqueKeyMeetsTheRecords) {
    ASSERT_EQ(home_.createBase("T"), WDB_OK);
    const auto base = home_->find("T");
    ASSERT_TRUE(putRow(home_, *base, 0, "a", "hello", 5));
    const auto second = putRow(home_, *base, 0, "b", "hello", 5);
    ASSERT_TRUE(second);
    const auto setKey = [&](const char* field) {
        DefinitionEditor editor = home_.editor();
        WdbBaseDef def{};
        EXPECT_EQ(editor.getBaseDef(Home::owner(), "T", &def), WDB_OK);
        std::snprintf(def.uniqueKey, sizeof def.uniqueKey, "%s", field);
        return editor.putBaseDef(Home::owner(), def, home_.locations(), kPatience, 1);
    };
    EXPECT_EQ(setKey("COUNT"), WDB_E_DUPLICATE);
    EXPECT_EQ((*base)->definition()->schema->uniqueKey()->name, "NAME") << "nothing is stored on failure";
    ASSERT_TRUE(putRow(home_, *base, *second, "b", "hello", 6));
    EXPECT_EQ(setKey("COUNT"), WDB_OK);
    const ValueKey key = valueKey(FieldType::Integer, encodeInteger(6));
    auto txn = (*base)->file()->read();
    EXPECT_EQ(*BaseReader(*txn).findKey(uniqueKey(3, key.bytes, false, {})), *second);
}

TEST_F(EditorTest, References) {
    ASSERT_EQ(home_.createBase("PARENT"), WDB_OK);
    DefinitionEditor editor = home_.editor();
    WdbBaseDef def{};
    ASSERT_EQ(editor.getBaseDef(Home::owner(), "CHILD", &def), WDB_OK);
    nameFiles(def);
    WdbFieldSpec mandatory = fieldSpec("REF", "PHRASE");
    mandatory.mandatory = 1;
    ASSERT_EQ(editor.putFieldSpec(mandatory), WDB_OK);
    ASSERT_EQ(editor.putFieldSpec(fieldSpec("SELF", "PHRASE")), WDB_OK);
    const struct {
        const char *column, *table, *referred;
        int32_t update, erase;
        Status status;
        const char* reason;
    } rows[] = {
        {"REF", "PARENT", "NAME", 0, WDB_ACT_CASCADE, WDB_OK, "0 is RESTRICT"},
        {"NONE", "PARENT", "NAME", 1, 1, WDB_E_FIELD, "unknown column"},
        {"REF", "NONE", "NAME", 1, 1, WDB_E_BASE, "unknown table"},
        {"REF", "PARENT", "NONE", 1, 1, WDB_E_FIELD, "unknown referred column"},
        {"REF", "PARENT", "COUNT", 1, 1, WDB_E_TYPE, "types differ"},
        {"REF", "PARENT", "NAME", WDB_ACT_SET_NULL, 1, WDB_E_DEFINITION, "SET NULL on a mandatory field"},
        {"REF", "PARENT", "NAME", 1, WDB_ACT_SET_DEFAULT, WDB_E_DEFINITION, "no default"},
        {"REF", "PARENT", "NAME", 1, 9, WDB_E_DEFINITION, "unknown action"},
        {"SELF", "child", "REF", 1, 1, WDB_OK, "to itself"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(editor.setForeignKey(row.column, row.table, row.referred, row.update, row.erase),
                  row.status)
            << row.reason;
    }
    EXPECT_EQ(editor.putBaseDef(Home::owner(), def, home_.locations(), kPatience, 1), WDB_E_DEFINITION)
        << "its own referred column is not unique";
    std::snprintf(def.uniqueKey, sizeof def.uniqueKey, "REF");
    ASSERT_EQ(editor.putBaseDef(Home::owner(), def, home_.locations(), kPatience, 1), WDB_OK);
    const auto rules = (*home_->definition("CHILD"))->rules;
    ASSERT_EQ(rules.size(), 2u);
    EXPECT_EQ(rules[0], (ReferenceRule{1, "PARENT", "NAME", WDB_ACT_RESTRICT, WDB_ACT_CASCADE}));
}

}  // namespace
}  // namespace wdb
