#pragma once

#include <cstdint>

#include "src/support/CStringBuffer.h"

namespace wsql {

class SelectOutput;
class WSQLFilter;
class WSQLRowData;

/// Appends one Row element. rowNumber is the row's 1-based number within the whole result; context is that of
/// log lines.
void appendRow(WSQLFilter& filter, CStringBuffer& document, const SelectOutput& output,
               const WSQLRowData& row, std::int32_t rowNumber, const char* context);

}  // namespace wsql
