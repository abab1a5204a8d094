#include "host/upkeep/Dump.h"

#include <algorithm>
#include <set>
#include <stdexcept>

#include "host/Kernel.h"
#include "host/define/TableDefinition.h"
#include "host/import/Progress.h"
#include "host/input/ColumnNames.h"
#include "host/records/RowWriter.h"
#include "host/records/TableReader.h"

namespace host {

namespace {

constexpr std::size_t kPiece = 1 << 20;  // bytes collected before they are passed on
constexpr std::size_t kReasonsKept = 20;

// Everything that is read while it lives is of one moment for each table.
class OneState {
public:
    OneState() { check(WdbSaveStatus()); }
    ~OneState() { WdbLoadStatus(3); }
    OneState(const OneState&) = delete;
    OneState& operator=(const OneState&) = delete;
};

std::unique_ptr<RowWriter> makeWriter(RowFormat format, const std::string& table,
                                      const std::vector<TableColumn>& columns) {
    switch (format) {
        case RowFormat::csv:
            return std::make_unique<CsvRowWriter>(columns);
        case RowFormat::sql:
            return std::make_unique<SqlRowWriter>(table, columns);
        case RowFormat::jsonl:
            break;
    }
    return std::make_unique<JsonRowWriter>(columns);
}

std::int64_t recordCount(const std::string& table) {
    for (const TableEntry& entry : listTables()) {
        if (equalNames(entry.name, table)) return entry.records;
    }
    return 0;
}

ExportReport writeRows(const std::string& table, RowFormat format, const Sink& sink) {
    Progress progress(recordCount(table));
    TableReader reader(table);
    const std::unique_ptr<RowWriter> writer = makeWriter(format, table, reader.columns());
    ExportReport report;
    StoredRecord record;
    std::string out, reason;
    writer->begin(out);
    while (reader.next(record)) {
        if (writer->row(record, out, reason)) {
            ++report.rows;
        } else {
            ++report.refused;
            if (report.reasons.size() < kReasonsKept)
                report.reasons.push_back("record " + std::to_string(record.number) + ": " + reason);
        }
        if (out.size() >= kPiece) {
            sink(out);
            out.clear();
        }
        progress.show(report.rows + report.refused, report.rows);
    }
    sink(out);
    return report;
}

// The tables that the table refers to come first. A circle is cut where it is entered.
void addInOrder(const std::vector<TableDefinition>& all, const TableDefinition& table,
                std::set<std::string>& seen, std::vector<const TableDefinition*>& order) {
    if (!seen.insert(table.name).second) return;
    for (const ColumnDefinition& column : table.columns) {
        if (!column.reference) continue;
        for (const TableDefinition& other : all) {
            if (equalNames(other.name, column.reference->table)) addInOrder(all, other, seen, order);
        }
    }
    order.push_back(&table);
}

}  // namespace

ExportReport exportTable(const std::string& table, RowFormat format, const Sink& sink) {
    const OneState state;
    return writeRows(table, format, sink);
}

void dumpTables(std::vector<std::string> tables, const Sink& sink) {
    const OneState state;
    std::vector<TableDefinition> definitions;
    for (const std::string& table : tables) definitions.push_back(readDefinition(table));
    std::vector<const TableDefinition*> order;
    std::set<std::string> seen;
    for (const TableDefinition& definition : definitions) addInOrder(definitions, definition, seen, order);
    for (const TableDefinition* definition : order) {
        sink(fitsCreateTable(*definition) ? createTable(*definition) + "\n"
                                          : ".define " + definitionJson(*definition) + "\n");
        sink(".rows " + definition->name + "\n");
        writeRows(definition->name, RowFormat::jsonl, sink);
        sink(".end\n");
    }
}

bool RowBlock::LineSource::next(InputRecord& record) {
    parser.parse(text, record);
    return true;
}

RowBlock::RowBlock(const std::string& table) : loader_(table) {}

bool RowBlock::store(std::string_view text) {
    source_.text = text;
    source_.next(record_);
    if (!record_.problem.empty()) throw std::runtime_error(record_.problem);
    if (source_.columns().size() > mapped_) {
        const std::vector<std::string> lacking = loader_.mapColumns(source_);
        if (!lacking.empty()) throw std::runtime_error("the table has no column " + lacking.front());
        mapped_ = source_.columns().size();
    }
    std::string reason;
    if (loader_.put(source_, record_, reason)) return true;
    if (loader_.lastStatus() == WDB_E_NO_PARENT) return false;
    throw std::runtime_error(reason);
}

void RowBlock::line(std::string_view text) {
    if (text.find_first_not_of(" \t\r\n") == std::string_view::npos) return;
    if (!store(text)) waiting_.emplace_back(text);
}

std::int64_t RowBlock::end() {
    for (bool progress = true; progress && !waiting_.empty();) {
        const std::size_t before = waiting_.size();
        std::erase_if(waiting_, [this](const std::string& text) { return store(text); });
        progress = waiting_.size() < before;
    }
    if (!waiting_.empty()) throw KernelError(WDB_E_NO_PARENT, kernelMessage(WDB_E_NO_PARENT));
    loader_.commit();
    return loader_.counts().stored;
}

}  // namespace host
