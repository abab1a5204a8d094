#pragma once

#include <cstdint>
#include <string_view>

#include "src/support/CStringBuffer.h"

namespace wsql {

class WSQLFilter;

/// Appends the answer of a statement that changes rows: a ResultSet of one row that holds their number.
/// statementType is "INSERT", "UPDATE" or "DELETE".
void appendRowCountDocument(const WSQLFilter& filter, CStringBuffer& document, const char* statementType,
                            std::string_view tableName, std::int32_t rowCount);

/// Answers the statement with that document.
void answerRowCount(WSQLFilter& filter, const char* statementType, std::string_view tableName,
                    std::int32_t rowCount);

}  // namespace wsql
