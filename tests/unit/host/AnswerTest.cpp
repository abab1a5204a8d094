#include "host/text/Answer.h"

#include <gtest/gtest.h>

#include "host/text/Base64.h"

namespace host {
namespace {

constexpr const char* kProlog = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n";

Answer read(std::string document) {
    document.insert(0, kProlog);
    return readAnswer(document.data(), document.size());
}

std::string resultWith(const std::string& type, const std::string& column) {
    return "<ResultSet>\r\n<ResultSetMetaData statementType=\"SELECT\" columnCount=\"1\" rowCount=\"45\">\r\n"
           "<ColumnMetaData ID=\"1\" tableName=\"T\" columnName=\"A\" columnType=\"" +
           type +
           "\" isNullable=\"true\"/>\r\n</ResultSetMetaData>\r\n<ResultSetData>\r\n"
           "<Row rowNumber=\"41\" recordNumber=\"7\" partNumber=\"0\">\r\n" +
           column + "</Row>\r\n</ResultSetData>\r\n</ResultSet>";
}

TEST(Answer, ReadsColumnsAsAPersonSeesThem) {
    struct Row {
        const char* why;
        const char* type;
        const char* column;
        const char* text;
        bool isNull;
    };
    const Row rows[] = {
        {"escapes are undone", "VARCHAR", "<Column ID=\"1\" datasize=\"9\">a &lt; b&amp;c</Column>",
         "a < b&c", false},
        {"NULL", "VARCHAR", "<Column ID=\"1\" null=\"true\" />", "", true},
        {"an empty text is no NULL", "VARCHAR", "<Column ID=\"1\" datasize=\"0\"></Column>", "", false},
        {"blanks of a value stay", "VARCHAR", "<Column ID=\"1\" datasize=\"2\">  </Column>", "  ", false},
        {"a single paragraph loses its line end", "LONG VARCHAR",
         "<Column ID=\"1\" datasize=\"9\"><P>a\nb\n</P></Column>", "a\nb", false},
        {"paragraphs are parted by an empty line", "LONG VARCHAR",
         "<Column ID=\"1\" datasize=\"9\"><P>a\n</P><P>  b\n</P></Column>", "a\n\n  b", false},
        {"blanks at the ends of a text stay", "LONG VARCHAR",
         "<Column ID=\"1\" datasize=\"9\"><P>  a  \n</P></Column>", "  a  ", false},
        {"so do empty lines, there and between", "LONG VARCHAR",
         "<Column ID=\"1\" datasize=\"9\"><P></P><P>a\n</P><P></P><P>b\n</P><P></P></Column>", "\na\n\n\nb\n",
         false},
        {"plain texts come in base64", "LONG VARCHAR",
         "<Column ID=\"1\" datasize=\"4\" encoding=\"base64\">YWJj</Column>", "abc", false},
        {"a binary value stays base64", "LONG VARBINARY",
         "<Column ID=\"1\" datasize=\"4\" encoding=\"base64\">YWJj</Column>", "YWJj", false},
        {"what is not sent is named by its key", "LONG VARBINARY",
         "<Column ID=\"1\" datasize=\"9\" fetchKey=\"54-7-0-1\"/>", "54-7-0-1", false},
    };
    for (const Row& row : rows) {
        const Answer answer = read(resultWith(row.type, row.column));
        const auto* result = std::get_if<ResultSet>(&answer);
        ASSERT_NE(result, nullptr) << row.why;
        ASSERT_EQ(result->rows.size(), 1u) << row.why;
        EXPECT_EQ(result->rows[0][0].text, row.text) << row.why;
        EXPECT_EQ(result->rows[0][0].isNull, row.isNull) << row.why;
        EXPECT_EQ(result->total, 45);
        EXPECT_EQ(result->first, 41);
    }
}

TEST(Answer, TakesTheLabelBeforeTheColumnName) {
    const Answer answer = read(
        "<ResultSet>\r\n<ResultSetMetaData statementType=\"INSERT\" columnCount=\"1\" "
        "rowCount=\"1\">\r\n<ColumnMetaData ID=\"1\" "
        "columnLabel=\"Row Count\" tableName=\"T\" "
        "columnType=\"INTEGER\"/>\r\n</ResultSetMetaData>\r\n<ResultSetData>\r\n<Row "
        "rowNumber=\"1\">\r\n<Column "
        "ID=\"1\"><P>3</P></Column>\r\n</Row>\r\n</ResultSetData>\r\n</ResultSet>\r\n");
    const auto& result = std::get<ResultSet>(answer);
    EXPECT_EQ(result.statementType, "INSERT");
    EXPECT_EQ(result.columns[0].name, "Row Count");
    EXPECT_EQ(result.rows[0][0].text, "3");
}

TEST(Answer, ReadsTheSmallDocuments) {
    EXPECT_EQ(std::get<Success>(read("<Success/>\r\n")).text, "");
    EXPECT_EQ(std::get<Success>(read("<Success>a < b & c</Success>\r\n")).text, "a < b & c");
    const Answer answer = read("<property name=\"selecttext\">true</property>\r\n");
    EXPECT_EQ(std::get<Property>(answer).name, "selecttext");
    EXPECT_EQ(std::get<Property>(answer).value, "true");
}

TEST(Answer, AnythingElseIsUnreadable) {
    for (std::string text : {"", "x", "<Other/>", "<ResultSet><Row></ResultSet>", "<ResultSet"}) {
        EXPECT_TRUE(std::holds_alternative<Unreadable>(read(text))) << text;
    }
}

TEST(Answer, ReadsFaultsAlthoughTheyAreNotEscaped) {
    const Fault fault =
        readFault(std::string(kProlog) +
                      "<Fault faultCode=\"610\"\r\n      faultSource=\"WSQLValidation:12\"\r\n      "
                      "faultContext=\"execution\">no table \"a<b>\" & no </Fault> either</Fault>",
                  1220, "short");
    EXPECT_EQ(fault.code, 610);
    EXPECT_EQ(fault.message, "no table \"a<b>\" & no </Fault> either");
    EXPECT_EQ(fault.source, "WSQLValidation:12");
    EXPECT_EQ(fault.context, "execution");
}

TEST(Answer, AFaultWithoutADocumentHasTheRecordsFields) {
    const Fault fault = readFault("", 8866, "bad mask");
    EXPECT_EQ(fault.code, 8866);
    EXPECT_EQ(fault.message, "bad mask");
}

TEST(Base64, DecodesWithAndWithoutPadding) {
    EXPECT_EQ(decodeBase64(""), "");
    EXPECT_EQ(decodeBase64("YQ=="), "a");
    EXPECT_EQ(decodeBase64("YWI"), "ab");
    EXPECT_EQ(decodeBase64("YW\r\nJj"), "abc");
    EXPECT_EQ(decodeBase64("//79"), "\xFF\xFE\xFD");
}

}  // namespace
}  // namespace host
