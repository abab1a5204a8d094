// The rows of a result one after another, wherever they come from.
#pragma once

#include <cstdint>
#include <memory>

#include "src/SelectOutput.h"
#include "src/WSQLRowBuffers.h"
#include "src/WSQLRowData.h"

namespace wsql {

class RowElements;
class WSQLFilter;

/// How a fetch ended.
enum class RowOutcome {
    kRow,    ///< the row object holds the next row
    kNone,   ///< there are no more rows
    kFailed  ///< a fault has been answered
};

class WSQLRowCursor {
public:
    /// Both outlive the cursor.
    WSQLRowCursor(WSQLFilter& filter, SelectOutput& output) : filter_(filter), output_(output) {}

    /// Fetches the row that the row object's index names and moves the index behind it. A null object is made
    /// first.
    RowOutcome next(std::unique_ptr<WSQLRowData>& row);
    /// The same, and appends the row's element. The row object, which is there, may hold no values
    /// afterwards. Writes no log.
    RowOutcome append(std::unique_ptr<WSQLRowData>& row, RowElements& elements, std::int32_t rowNumber);

private:
    WSQLFilter& filter_;
    SelectOutput& output_;
    WSQLRowBuffers buffers_;
};

}  // namespace wsql
