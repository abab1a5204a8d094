// SELECT: one command for the kernel, one block of rows for the host.
#include <algorithm>
#include <optional>
#include <string>

#include "src/ElementAt.h"
#include "src/SelectCommand.h"
#include "src/SelectDocument.h"
#include "src/SelectOutput.h"
#include "src/StatusScope.h"
#include "src/WSQLFilter.h"
#include "src/WSQLMilestone.h"
#include "src/WSQLResultSet.h"
#include "src/WSQLRowCursor.h"
#include "src/support/text.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/CommandWord.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::ExecuteSelect";
constexpr const char* kSource = "src/WSQLExecSelect";
constexpr std::int32_t kDefaultBlock = 20;
constexpr std::int32_t kWholeResult = 1073741824;
constexpr std::uint32_t kNotSupported = static_cast<std::uint32_t>(-4);  ///< fault code

std::int32_t clamped(std::int64_t number) {
    return static_cast<std::int32_t>(std::min<std::int64_t>(number, INT32_MAX));
}

/// The part of the rows that the host wants, from its settings.
struct Block {
    std::int64_t size = kDefaultBlock;  ///< rows
    std::int64_t number = 1;            ///< 1-based

    static Block ofSettings() {
        Block block;
        CStringBuffer value(64);
        if (kernelSetting("SQL_BLOCKNUMBER", value)) block.number = std::max(decimalPrefix(value.view()), 1);
        if (!kernelSetting("SQL_BLOCKSIZE", value) || value.empty()) return block;
        const std::int32_t size = decimalPrefix(value.view());
        if (size >= 1) block.size = size;
        if (size == -1 && block.number == 1) block.size = kWholeResult;
        return block;
    }
    std::int64_t firstRow() const { return (number - 1) * size; }
    std::int64_t lastRow() const { return number * size; }
};

/// One execution of one validated statement.
class SelectExecution {
public:
    SelectExecution(WSQLFilter& filter, WSQLStmtSelect& select, CStringBuffer* setReference,
                    std::int32_t* setSlot, bool subselect)
        : filter_(filter),
          select_(select),
          setReference_(setReference),
          setSlot_(setSlot),
          subselect_(subselect) {}

    bool run() {
        filter_.debug(kContext, "About to execute select statement.\n");
        if (!checkTables()) return false;
        std::optional<StatusScope> scope;
        const bool topLevel = setReference_ == nullptr && setSlot_ == nullptr;
        if (topLevel) {
            scope.emplace(filter_, kContext);
            if (hasTables() && !filter_.UseZeroSearchSets()) return false;
        }
        if (!search()) return false;
        filter_.debug(kContext, "Search yielded hits in %d records.\n", hits_);
        if (setReference_ != nullptr) setReference_->appendFormat("S=%d", set_);
        if (setSlot_ != nullptr) *setSlot_ = set_;
        if (!topLevel) return true;
        CStringBuffer document(kDocumentBlock);
        if (!writeDocument(document)) return false;
        filter_.setStatus(WDB_OK);
        filter_.SetAnswer(document);
        filter_.debug(kContext, "Cleaning up after SELECT processing\n");
        scope->restore();  // a failure here replaces the answer
        filter_.debug(kContext, "SELECT processing complete.\n");
        return true;
    }

private:
    static constexpr std::int32_t kDocumentBlock = 4096;

    bool hasTables() const { return select_.tables->Count() > 0; }

    bool fault(std::int32_t line, std::uint32_t code, const char* text) {
        filter_.ReportFault(code, text, -1, kSource, line, kContext);
        return false;
    }

    bool kernelFault(std::int32_t status, const char* function) {
        filter_.ReportKernelError(status, kContext, function);
        return false;
    }

    bool checkTables() {
        if (select_.functionItemCount() > 0) filter_.debug(kContext, "Checking aggregate functions.\n");
        if (select_.joins->Count() == 0 && select_.tables->Count() > 1) {
            return fault(730, 0, "JOIN conditions must be specified for multi-table selects.");
        }
        bool parts = false;
        for (std::int32_t i = 0; i < select_.tables->Count(); ++i) {
            WSQLTableRef& table = elementAt(*select_.tables, i);
            filter_.LoadFields(&table);
            if (!table.hasPartRecords || parts) continue;
            filter_.debug(kContext, "Part field(s) selected - creating implicit join.\n");
            parts = true;
        }
        if (parts && select_.tables->Count() > 1) {
            return fault(792, kNotSupported, "Joins not supported between WELK databases with part records.");
        }
        return true;
    }

    bool openTables() {
        if (select_.tables->Count() == 1) {
            const std::string& name = elementAt(*select_.tables, 0).table;
            filter_.debug(kContext, "Opening database \"%s\"\n", name.c_str());
            return filter_.SearchOpenDB(name.c_str());
        }
        for (std::int32_t i = 0; i < select_.tables->Count(); ++i) {
            filter_.IndexDatabase(elementAt(*select_.tables, i).table.c_str(), true, false);
        }
        return true;
    }

    /// Finds the set and the number of its rows.
    bool search() {
        if (!hasTables()) {
            bool holds = true;
            if (!filter_.EvaluateConstantCondition(select_.where.get(), holds)) return false;
            hits_ = holds ? 1 : 0;
            return true;
        }
        CStringBuffer where(256);
        if (!openTables() || !filter_.TranslateCondition(select_.where.get(), 1, nullptr, &where))
            return false;
        const SelectWords words{CommandWord(filter_, "SEL").text(),
                                subselect_ ? CommandWord(filter_, "SFX").text() : "",
                                CommandWord(filter_, "FRL").text(),
                                count(select_.orderBy) > 0 ? CommandWord(filter_, "DES").text() : ""};
        CStringBuffer command(1024);
        if (!appendSelectCommand(command, select_, words, {where.view(), subselect_, false})) {
            return fault(1018, kNotSupported, "Invalid JOIN type.");
        }
        if (filter_.logs(kLogDebug))
            filter_.debug(kContext, "Translated statement: \"%s\"\n", command.text());
        std::int32_t status = filter_.ExecuteCommand(command.text());
        if (!WDB_SUCCESS(status)) return kernelFault(status, "ExecuteCCL");
        status = WdbSearchResult(&set_, &hits_, nullptr, nullptr, nullptr);
        return WDB_SUCCESS(status) || kernelFault(status, "WdbSearchResult");
    }

    WSQLResultSetMetaData& describe() {
        if (filter_.resultSet() == nullptr) filter_.setResultSet(std::make_unique<WSQLResultSet>());
        WSQLResultSetMetaData& metaData = filter_.resultSet()->metaData();
        metaData.setEncoding(kOutputEncoding);
        std::int32_t id = 0;
        for (std::int32_t i = 0; i < select_.itemCount(); ++i) {
            filter_.debug(kContext, "Generating meta data for output column #%d\n", ++id);
            metaData.addColumn(WSQLResultSetColumn::ofItem(id, elementAt(select_.items(), i), select_));
        }
        for (std::int32_t i = 0; i < select_.tables->Count() && select_.itemCount() == 0; ++i) {
            const WSQLTableRef& table = elementAt(*select_.tables, i);
            for (std::int32_t n = 0; n < table.fields->Count(); ++n) {
                filter_.debug(kContext, "Generating meta data for output column #%d\n", ++id);
                metaData.addColumn(WSQLResultSetColumn::ofField(id, *table.fields->Get(n)));
            }
        }
        if (set_ > 0) filter_.debug(kContext, "Creating result set for search #%d\n", set_);
        metaData.addRows(hits_);
        return metaData;
    }

    bool writeDocument(CStringBuffer& document) {
        WSQLResultSetMetaData& metaData = describe();
        const Block block = Block::ofSettings();
        auto row = std::make_unique<WSQLRowData>(set_, hits_, select_.tables->Count());
        row->firstRow = row->index = block.firstRow();
        row->lastRow = block.lastRow();
        if (row->firstRow >= hits_ && block.number > 1) {
            return fault(1267, WDB_E_NO_MORE, "There are no more records in the result set.");
        }
        filter_.debug(kContext, "Fetching block #%d at offset %d (row %d-%d).", clamped(block.number),
                      clamped(block.firstRow()), clamped(block.firstRow() + 1), clamped(block.lastRow()));
        metaData.begin(document, filter_.conversionSet());
        if (!writeRows(document, metaData, std::move(row))) return false;
        WSQLResultSetMetaData::finish(document);
        return true;
    }

    /// One row is fetched ahead of the one that is written, so that DISTINCT can drop its repetitions.
    bool writeRows(CStringBuffer& document, WSQLResultSetMetaData& metaData,
                   std::unique_ptr<WSQLRowData> row) {
        SelectOutput output(filter_, select_);
        WSQLRowCursor cursor(filter_, output);
        std::int64_t counter = row->firstRow;
        auto ahead = std::make_unique<WSQLRowData>(*row);
        RowOutcome outcome = cursor.next(row);
        if (outcome == RowOutcome::kRow) metaData.setHasRows();
        while (outcome == RowOutcome::kRow) {
            const bool last = counter + 1 >= row->lastRow;
            outcome = last ? RowOutcome::kNone : advance(cursor, *row, ahead);
            appendRow(filter_, document, output, *row, clamped(++counter));
            if (last) filter_.debug(kContext, "End of block reached.\n");
            row.swap(ahead);
        }
        return outcome != RowOutcome::kFailed;
    }

    RowOutcome advance(WSQLRowCursor& cursor, const WSQLRowData& row, std::unique_ptr<WSQLRowData>& ahead) {
        ahead->index = row.index;
        RowOutcome outcome = cursor.next(ahead);
        while (select_.distinct && outcome == RowOutcome::kRow && ahead->equals(row))
            outcome = cursor.next(ahead);
        return outcome;
    }

    WSQLFilter& filter_;
    WSQLStmtSelect& select_;
    CStringBuffer* setReference_;
    std::int32_t* setSlot_;
    bool subselect_;
    std::int32_t set_ = 0;
    std::int32_t hits_ = 0;
};

}  // namespace

bool WSQLFilter::ExecuteSelect(WSQLStmtSelect* select, std::int32_t /*firstRow*/, CStringBuffer* setReference,
                               std::int32_t* setNumber, bool subselect) {
    if (beyondExecution(*select)) {
        ReportUnsupported();
        return false;
    }
    return SelectExecution(*this, *select, setReference, setNumber, subselect).run();
}

}  // namespace wsql
