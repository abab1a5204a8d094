#include "src/SelectResult.h"

#include <algorithm>

#include "include/wdb.h"
#include "src/DictionarySelect.h"
#include "src/ElementAt.h"
#include "src/RowElements.h"
#include "src/SelectDocument.h"
#include "src/WSQLFilter.h"
#include "src/WSQLResultSet.h"
#include "src/support/text.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

constexpr std::int32_t kDefaultBlock = 20;
constexpr std::int32_t kWholeResult = 1073741824;

std::int32_t clamped(std::int64_t number) {
    return static_cast<std::int32_t>(std::min<std::int64_t>(number, INT32_MAX));
}

/// The number that a setting begins with; the default when it is missing or empty.
std::int32_t numberSetting(const SessionFacts& facts, SessionFacts::Fact fact, const char* name,
                           std::int32_t otherwise) {
    if (const auto known = facts.text(fact)) return known->empty() ? otherwise : decimalPrefix(*known);
    constexpr std::int32_t kAllLevels = 7;
    char text[256];
    std::int32_t length = sizeof text;
    text[0] = '\0';
    const bool found = WDB_SUCCESS(QueryRCS(name, text, &length, kAllLevels));
    text[sizeof text - 1] = '\0';
    return found && text[0] != '\0' ? decimalPrefix(text) : otherwise;
}

/// The part of the rows that the host wants, from its settings.
struct Block {
    std::int64_t size = kDefaultBlock;  ///< rows
    std::int64_t number = 1;            ///< 1-based

    static Block ofSettings(const SessionFacts& facts) {
        Block block;
        block.number = std::max(numberSetting(facts, SessionFacts::kBlockNumber, "SQL_BLOCKNUMBER", 1), 1);
        const std::int32_t size =
            numberSetting(facts, SessionFacts::kBlockSize, "SQL_BLOCKSIZE", kDefaultBlock);
        if (size >= 1) block.size = size;
        if (size == -1 && block.number == 1) block.size = kWholeResult;
        return block;
    }
    std::int64_t firstRow() const { return (number - 1) * size; }
    std::int64_t lastRow() const { return number * size; }
};

}  // namespace

WSQLResultSetMetaData* SelectResult::describe() {
    if (form_.isUnion || filter_.resultSet() == nullptr)
        filter_.setResultSet(std::make_unique<WSQLResultSet>());
    WSQLResultSetMetaData& metaData = filter_.resultSet()->metaData();
    metaData.setEncoding(kOutputEncoding);
    metaData.setUnion(form_.isUnion);
    if (selectsDictionary(select_)) {
        if (!filter_.CreateDictionaryMetaData(&select_)) return nullptr;
        metaData.addRows(set_.hits);
        return &metaData;
    }
    metaData.expectColumns(select_.itemCount());
    std::int32_t id = 0;
    for (std::int32_t i = 0; i < select_.itemCount(); ++i) {
        filter_.debug(form_.context, "Generating meta data for output column #%d\n", ++id);
        metaData.addColumn(WSQLResultSetColumn::ofItem(id, elementAt(select_.items(), i), select_));
    }
    for (std::int32_t i = 0; i < select_.tables->Count() && select_.itemCount() == 0; ++i) {
        const WSQLTableRef& table = elementAt(*select_.tables, i);
        for (std::int32_t n = 0; n < table.fields->Count(); ++n) {
            filter_.debug(form_.context, "Generating meta data for output column #%d\n", ++id);
            metaData.addColumn(WSQLResultSetColumn::ofField(id, *table.fields->Get(n)));
        }
    }
    if (set_.number > 0) filter_.debug(form_.context, "Creating result set for search #%d\n", set_.number);
    metaData.addRows(set_.hits);
    return &metaData;
}

bool SelectResult::write(CStringBuffer& document) {
    WSQLResultSetMetaData* described = describe();
    if (described == nullptr) return false;
    WSQLResultSetMetaData& metaData = *described;
    const Block block = Block::ofSettings(filter_.facts());
    auto row = std::make_unique<WSQLRowData>(set_.number, set_.hits, select_.tables->Count());
    row->firstRow = row->index = block.firstRow();
    row->lastRow = block.lastRow();
    if (row->firstRow >= set_.hits && block.number > 1) {
        filter_.ReportFault(WDB_E_NO_MORE, "There are no more records in the result set.", -1, form_.source,
                            form_.line, form_.context);
        return false;
    }
    filter_.debug(form_.context, "Fetching block #%d at offset %d (row %d-%d).", clamped(block.number),
                  clamped(block.firstRow()), clamped(block.firstRow() + 1), clamped(block.lastRow()));
    metaData.begin(document, filter_.conversionSet());
    if (!writeRows(document, metaData, std::move(row))) return false;
    WSQLResultSetMetaData::finish(document);
    return true;
}

/// One row is fetched ahead of the one that is written, so that DISTINCT can drop its repetitions.
bool SelectResult::writeRows(CStringBuffer& document, WSQLResultSetMetaData& metaData,
                             std::unique_ptr<WSQLRowData> row) {
    SelectOutput output(filter_, select_,
                        form_.isUnion ? SelectOutput::Values::kUnion : SelectOutput::Values::kDocument);
    WSQLRowCursor cursor(filter_, output);
    const bool drops = select_.distinct && !form_.isUnion;
    if (!drops && !filter_.logs(kLogDebug)) return streamRows(document, metaData, output, std::move(row));
    std::int64_t counter = row->firstRow;
    auto ahead = std::make_unique<WSQLRowData>(row->setNumber, row->hitCount, row->tableCount);
    ahead->firstRow = row->firstRow;
    ahead->lastRow = row->lastRow;
    RowOutcome outcome = cursor.next(row);
    if (outcome == RowOutcome::kRow) metaData.setHasRows();
    while (outcome == RowOutcome::kRow) {
        const bool last = counter + 1 >= row->lastRow;
        outcome = last ? RowOutcome::kNone : advance(cursor, *row, ahead);
        appendRow(filter_, document, output, *row, clamped(++counter), form_.context);
        if (last) filter_.debug(form_.context, "End of block reached.\n");
        row.swap(ahead);
    }
    return outcome != RowOutcome::kFailed;
}

/// Rows of which none is dropped, and which no log follows, go straight into the document.
bool SelectResult::streamRows(CStringBuffer& document, WSQLResultSetMetaData& metaData, SelectOutput& output,
                              std::unique_ptr<WSQLRowData> row) {
    WSQLRowCursor cursor(filter_, output);
    RowElements elements(document, output, filter_.conversionSet());
    for (std::int64_t counter = row->firstRow; counter < row->lastRow; ++counter) {
        const RowOutcome outcome = cursor.append(row, elements, clamped(counter + 1));
        if (outcome != RowOutcome::kRow) return outcome != RowOutcome::kFailed;
        metaData.setHasRows();
    }
    return true;
}

RowOutcome SelectResult::advance(WSQLRowCursor& cursor, const WSQLRowData& row,
                                 std::unique_ptr<WSQLRowData>& ahead) {
    ahead->index = row.index;
    RowOutcome outcome = cursor.next(ahead);
    while (select_.distinct && !form_.isUnion && outcome == RowOutcome::kRow && ahead->equals(row))
        outcome = cursor.next(ahead);
    return outcome;
}

}  // namespace wsql
