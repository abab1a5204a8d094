#include "src/WSQLResultSet.h"

#include "src/TextWriter.h"
#include "src/WSQLFilter.h"

namespace wsql {

const WSQLResultSetColumn* WSQLResultSetMetaData::column(std::int32_t index) const {
    return index >= 0 && index < count() ? &columns_[static_cast<std::size_t>(index)] : nullptr;
}

void WSQLResultSetMetaData::begin(CStringBuffer& document, const CharacterSet& set) const {
    TextWriter writer(document);
    writer << "<?xml version=\"1.0\" encoding=\"" << encoding_
           << "\" ?>\r\n<ResultSet>\r\n<ResultSetMetaData statementType=\"" << statementType_
           << "\" columnCount=\"" << count() << "\" rowCount=\"" << rowCount_ << "\">\r\n";
    writer.flush();
    for (const WSQLResultSetColumn& column : columns_) column.write(document, set, union_);
    document.append("</ResultSetMetaData>\r\n<ResultSetData>\r\n");
}

void WSQLResultSetMetaData::finish(CStringBuffer& document) {
    document.append("</ResultSetData>\r\n</ResultSet>");
}

const char* WSQLResultSet::GetValue(WSQLFilter& filter, std::int32_t row, std::int32_t index) const {
    const WSQLRowData* data =
        row >= 0 && row < rowCount() ? rows_[static_cast<std::size_t>(row)].get() : nullptr;
    const std::int32_t count = data != nullptr ? data->count() : 0;
    if (data == nullptr || index < 0 || index >= count) {
        filter.debug("WSQLResultSet::GetValue", "Requested column out of bounds (idx=%d, count=%d)\n", index,
                     count);
        return nullptr;
    }
    return data->value(index);
}

}  // namespace wsql
