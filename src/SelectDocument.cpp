#include "src/SelectDocument.h"

#include "src/SelectOutput.h"
#include "src/TextWriter.h"
#include "src/WSQLFilter.h"
#include "src/WSQLRowData.h"

namespace wsql {
namespace {

void writeValue(TextWriter& out, std::string_view value, ValueForm form) {
    out << " datasize=\"" << static_cast<std::int32_t>(value.size());
    switch (form) {
        case ValueForm::kKey:
            out << "\" fetchKey=\"" << value << "\"/>\r\n";
            break;
        case ValueForm::kBase64:
            out << "\" encoding=\"base64\">" << value << "</Column>\r\n";
            break;
        case ValueForm::kText:
            out << "\">" << value << "</Column>\r\n";
            break;
    }
}

void logOrigin(WSQLFilter& filter, const char* context, const OutputColumn& column) {
    using Origin = OutputColumn::Origin;
    if (column.origin == Origin::kField) return;
    filter.debug(context, "Checking if column is a column reference.\n");
    if (column.origin == Origin::kFunction) {
        filter.debug(context, "Column is function.\n");
        filter.debug(context, "Checking if function argument is a column reference.\n");
    }
    if (column.origin == Origin::kColumn || (column.origin == Origin::kFunction && column.fieldNumber != 0)) {
        filter.debug(context, "Getting column meta data from column reference.\n");
    } else if (column.origin == Origin::kConstant) {
        filter.debug(context, "Generating column meta data from simple scalar value.\n");
    }
}

void logColumn(WSQLFilter& filter, const char* context, const WSQLRowData& row, const OutputColumn& column,
               std::int32_t index) {
    filter.debug(context, "Checking column meta data...\n");
    filter.debug(context, "Fetching scalar object for column #%d\n", index + 1);
    logOrigin(filter, context, column);
    filter.debug(context, "Column info: type=%d, flags=%d, fieldno=%d\n", column.type,
                 static_cast<std::int32_t>(column.flags), column.fieldNumber);
    filter.debug(context, "Adding value to result.\n");
    if (row.value(index) == nullptr) {
        filter.debug(context, "Row data is NULL.\n");
    } else {
        filter.debug(context, "Value length is %d\n", row.size(index));
    }
}

}  // namespace

void appendRow(WSQLFilter& filter, CStringBuffer& document, const SelectOutput& output,
               const WSQLRowData& row, std::int32_t rowNumber, const char* context) {
    const bool trace = filter.logs(kLogDebug);
    if (trace) filter.debug(context, "Formatting row %d\n", rowNumber);
    TextWriter out(document);
    out << "<Row rowNumber=\"" << rowNumber << "\" recordNumber=\"" << row.recordNumber << "\" partNumber=\""
        << row.partNumber << "\">\r\n";
    for (std::int32_t i = 0; i < row.count(); ++i) {
        if (trace) logColumn(filter, context, row, output.columns()[static_cast<std::size_t>(i)], i);
        out << "<Column ID=\"" << i + 1 << "\"";
        const char* value = row.value(i);
        if (value == nullptr) {
            out << " null=\"true\" />\r\n";
        } else {
            writeValue(out, std::string_view(value, static_cast<std::size_t>(row.size(i))), row.form(i));
        }
    }
    out << "</Row>\r\n";
    out.flush();
}

}  // namespace wsql
