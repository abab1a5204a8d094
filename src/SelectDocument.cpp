#include "src/SelectDocument.h"

#include "src/SelectOutput.h"
#include "src/WSQLFilter.h"
#include "src/WSQLRowData.h"
#include "src/welkhelp/CclText.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::ExecuteSelect";

void appendAttribute(CStringBuffer& out, std::string_view nameAndQuote, std::int64_t number) {
    out.append(nameAndQuote);
    appendNumber(out, number);
    out.append('"');
}

void appendValue(CStringBuffer& out, const SelectOutput& output, const OutputColumn& column,
                 std::string_view value) {
    appendAttribute(out, " datasize=\"", static_cast<std::int64_t>(value.size()));
    const bool large = column.field != nullptr;
    if (large && !output.isInline(column.type)) {
        out.append(" fetchKey=\"");
        out.append(value);
        out.append("\"/>\r\n");
        return;
    }
    const bool encoded =
        column.base64 || (large && (column.type == WDB_T_STRING || (column.flags & WDB_F_PLAIN) != 0));
    out.append(encoded ? " encoding=\"base64\">" : ">");
    out.append(value);
    out.append("</Column>\r\n");
}

void logOrigin(WSQLFilter& filter, const OutputColumn& column) {
    using Origin = OutputColumn::Origin;
    if (column.origin == Origin::kField) return;
    filter.debug(kContext, "Checking if column is a column reference.\n");
    if (column.origin == Origin::kFunction) {
        filter.debug(kContext, "Column is function.\n");
        filter.debug(kContext, "Checking if function argument is a column reference.\n");
    }
    if (column.origin == Origin::kColumn || (column.origin == Origin::kFunction && column.fieldNumber != 0)) {
        filter.debug(kContext, "Getting column meta data from column reference.\n");
    } else if (column.origin == Origin::kConstant) {
        filter.debug(kContext, "Generating column meta data from simple scalar value.\n");
    }
}

void logColumn(WSQLFilter& filter, const WSQLRowData& row, const OutputColumn& column, std::int32_t index) {
    filter.debug(kContext, "Checking column meta data...\n");
    filter.debug(kContext, "Fetching scalar object for column #%d\n", index + 1);
    logOrigin(filter, column);
    filter.debug(kContext, "Column info: type=%d, flags=%d, fieldno=%d\n", column.type,
                 static_cast<std::int32_t>(column.flags), column.fieldNumber);
    filter.debug(kContext, "Adding value to result.\n");
    if (row.value(index) == nullptr) {
        filter.debug(kContext, "Row data is NULL.\n");
    } else {
        filter.debug(kContext, "Value length is %d\n", row.size(index));
    }
}

}  // namespace

void appendRow(WSQLFilter& filter, CStringBuffer& document, const SelectOutput& output,
               const WSQLRowData& row, std::int32_t rowNumber) {
    const bool trace = filter.logs(kLogDebug);
    if (trace) filter.debug(kContext, "Formatting row %d\n", rowNumber);
    appendAttribute(document, "<Row rowNumber=\"", rowNumber);
    appendAttribute(document, " recordNumber=\"", row.recordNumber);
    appendAttribute(document, " partNumber=\"", row.partNumber);
    document.append(">\r\n");
    for (std::int32_t i = 0; i < row.count(); ++i) {
        const OutputColumn& column = output.columns()[static_cast<std::size_t>(i)];
        if (trace) logColumn(filter, row, column, i);
        appendAttribute(document, "<Column ID=\"", i + 1);
        const char* value = row.value(i);
        if (value == nullptr) {
            document.append(" null=\"true\" />\r\n");
        } else {
            appendValue(document, output, column,
                        std::string_view(value, static_cast<std::size_t>(row.size(i))));
        }
    }
    document.append("</Row>\r\n");
}

}  // namespace wsql
