// Selections from the dictionary as the rest of SELECT sees them: a description and rows.
#include <string>

#include "src/DictionarySelect.h"
#include "src/SelectOutput.h"
#include "src/WSQLFilter.h"
#include "src/WSQLResultSet.h"
#include "src/WSQLRowCursor.h"
#include "src/WSQLRowData.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/ValueFilter.h"

namespace wsql {

void WSQLFilter::setDictionaryResult(std::unique_ptr<DictionaryResult> result) {
    dictionary_ = std::move(result);
}

bool WSQLFilter::CreateDictionaryMetaData(WSQLStmtSelect* select) {
    if (!bindDictionaryItems(*this, *select)) return false;
    for (std::int32_t i = 0; i < select->itemCount(); ++i) {
        resultSet_->metaData().addColumn(WSQLResultSetColumn::ofItem(i + 1, select->itemAt(i), *select));
    }
    return true;
}

RowOutcome WSQLFilter::GetNextDictRow(std::unique_ptr<WSQLRowData>& row, SelectOutput& output) {
    constexpr const char* kMethod = "WSQLFilter::GetNextDictRow";
    if (!row) row = std::make_unique<WSQLRowData>(0, dictionary_->hits(), 1);
    row->clear();
    if (row->index >= row->hitCount) {
        debug(kMethod, "End of search set reached.\n");
        return RowOutcome::kNone;
    }
    if (dictionary_->counts) {
        row->add(std::to_string(dictionary_->rows.size()));
    } else {
        const WDBSRow& source = *dictionary_->rows[static_cast<std::size_t>(row->index)];
        CStringBuffer text(64);
        for (const OutputColumn& column : output.columns()) {
            const std::string value = source.value(column.fieldNumber);
            text.clear();
            if (output.isRaw()) {
                text.append(value);
            } else {
                ValueFilter(*this, {}).xml(value, text);
            }
            row->add(text.view());
        }
    }
    ++row->index;
    return RowOutcome::kRow;
}

}  // namespace wsql
