#include "src/SelectDocument.h"

#include <charconv>
#include <cstring>
#include <iterator>

#include "src/SelectOutput.h"
#include "src/WSQLFilter.h"
#include "src/WSQLRowData.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::ExecuteSelect";

/// A piece of the document that is put together before it is appended at once. It holds the fixed texts and
/// the numbers between two values.
class Piece {
public:
    Piece& operator<<(std::string_view text) {
        std::memcpy(bytes_ + length_, text.data(), text.size());
        length_ += text.size();
        return *this;
    }
    Piece& operator<<(std::int32_t number) {
        const char* end = std::to_chars(bytes_ + length_, std::end(bytes_), number).ptr;
        length_ = static_cast<std::size_t>(end - bytes_);
        return *this;
    }
    void flush(CStringBuffer& document) {
        document.append(std::string_view(bytes_, length_));
        length_ = 0;
    }

private:
    // The longest one is a row's head with its first column's, below 160 bytes.
    char bytes_[192];
    std::size_t length_ = 0;
};

void appendValue(CStringBuffer& document, Piece& piece, std::string_view value, ValueForm form) {
    piece << " datasize=\"" << static_cast<std::int32_t>(value.size());
    if (form == ValueForm::kKey) {
        piece << "\" fetchKey=\"";
    } else {
        piece << (form == ValueForm::kBase64 ? "\" encoding=\"base64\">" : "\">");
    }
    piece.flush(document);
    document.append(value);
    piece << (form == ValueForm::kKey ? "\"/>\r\n" : "</Column>\r\n");
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
    Piece piece;
    piece << "<Row rowNumber=\"" << rowNumber << "\" recordNumber=\"" << row.recordNumber
          << "\" partNumber=\"" << row.partNumber << "\">\r\n";
    for (std::int32_t i = 0; i < row.count(); ++i) {
        if (trace) logColumn(filter, row, output.columns()[static_cast<std::size_t>(i)], i);
        piece << "<Column ID=\"" << i + 1 << "\"";
        const char* value = row.value(i);
        if (value == nullptr) {
            piece << " null=\"true\" />\r\n";
            piece.flush(document);
        } else {
            appendValue(document, piece, std::string_view(value, static_cast<std::size_t>(row.size(i))),
                        row.form(i));
        }
    }
    piece << "</Row>\r\n";
    piece.flush(document);
}

}  // namespace wsql
