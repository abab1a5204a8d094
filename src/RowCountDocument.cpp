#include "src/RowCountDocument.h"

#include "src/WSQLFilter.h"
#include "src/welkhelp/CclText.h"

namespace wsql {

void appendRowCountDocument(const WSQLFilter& filter, CStringBuffer& document, const char* statementType,
                            std::string_view tableName, std::int32_t rowCount) {
    document.append("<?xml version=\"1.0\" encoding=\"");
    document.append(kOutputEncoding);
    document.append(
        "\" ?>\r\n"
        "<ResultSet>\r\n"
        "<ResultSetMetaData statementType=\"");
    document.append(statementType);
    document.append(
        "\" columnCount=\"1\" rowCount=\"1\">\r\n"
        "<ColumnMetaData ID=\"1\" columnLabel=\"Row Count\" tableName=\"");
    appendXmlAttribute(filter.conversionSet(), document, tableName);
    document.append(
        "\" columnType=\"INTEGER\" maxLength=\"4\" isNullable=\"false\"/>\r\n"
        "</ResultSetMetaData>\r\n"
        "<ResultSetData>\r\n"
        "<Row rowNumber=\"1\">\r\n"
        "<Column ID=\"1\"><P>");
    appendNumber(document, rowCount);
    document.append(
        "</P></Column>\r\n"
        "</Row>\r\n"
        "</ResultSetData>\r\n"
        "</ResultSet>\r\n");
}

void answerRowCount(WSQLFilter& filter, const char* statementType, std::string_view tableName,
                    std::int32_t rowCount) {
    CStringBuffer document(1024);
    appendRowCountDocument(filter, document, statementType, tableName, rowCount);
    filter.setStatus(WDB_OK);
    filter.setLastStatus(WDB_OK);
    filter.SetAnswer(document);
}

}  // namespace wsql
