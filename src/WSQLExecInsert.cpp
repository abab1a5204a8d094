// INSERT: one new record from a list of values, or one from each row of a SELECT; and the row-count answer.
#include <string>
#include <vector>

#include "src/ElementAt.h"
#include "src/InsertColumns.h"
#include "src/RowCountDocument.h"
#include "src/ScalarSubselects.h"
#include "src/ValueRows.h"
#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/WelkRecord.h"

namespace wsql {
namespace {

constexpr const char* kLog = "WSQLFilter::ExecuteInsert";
constexpr const char* kSource = "SQLFilter::ExecuteInsert";
constexpr const char* kPhase = "execution";

bool fault(WSQLFilter& filter, const std::string& text) {
    filter.WriteFaultDocument(0, text.c_str(), static_cast<std::int32_t>(text.size()), kSource, kPhase);
    return false;
}

bool kernelFault(WSQLFilter& filter, std::int32_t status) {
    filter.setLastStatus(status);
    filter.ReportKernelError(status, kSource, kPhase);
    return false;
}

/// What both forms work on.
struct Target {
    const WSQLStmtInsert& insert;
    std::vector<const WELKFieldInfo*> columns;

    /// Position that the statement names for the 0-based column; 0: the whole field.
    std::int32_t position(std::int32_t column) const {
        return insert.columns ? elementAt(*insert.columns, column).subscript : 0;
    }
};

/// One record from the values of the statement.
class ValuesInsert {
public:
    ValuesInsert(WSQLFilter& filter, const Target& target, WelkRecord& record)
        : filter_(filter), target_(target), record_(record) {}

    /// rows receives 1, or 0 for a record that the statement allows to be refused. False after a fault.
    bool run(std::int32_t& rows) {
        for (std::size_t i = 0; i < target_.columns.size(); ++i) {
            if (!setColumn(*target_.columns[i], static_cast<std::int32_t>(i))) return false;
        }
        filter_.debug(kLog, "Storing new record.\n");
        std::int32_t recordId = 0;
        const std::int32_t status = WdbPutRecord(record_.get(), &recordId);
        rows = WDB_SUCCESS(status) ? 1 : 0;
        return rows > 0 || target_.insert.ignore || kernelFault(filter_, status);
    }

private:
    /// A value, ready to be stored.
    struct Value {
        LiteralClass literal = LiteralClass::kOther;
        bool null = false;
        std::string text;
    };

    bool setColumn(const WELKFieldInfo& column, std::int32_t index) {
        filter_.debug(kLog, "Processing column #%d\n", index + 1);
        const WSQLScalar* expression = target_.insert.values->Get(index);
        if (expression == nullptr) {
            return fault(filter_,
                         "Internal error: NULL pointer for column " + std::to_string(index + 1) + ".");
        }
        Value value;
        if (!evaluate(*expression, value)) return false;
        if (column.partField) return fault(filter_, partColumnText(index + 1, column.name));
        filter_.debug(kLog, "Data type verification.\n");
        if (value.null) return true;
        const std::string mismatch = typeMismatch(value.literal, column, index + 1, TypeRule::kExecution);
        if (!mismatch.empty()) return fault(filter_, mismatch);
        filter_.debug(kLog, "Column type verified.\n");
        filter_.debug(kLog, "Inserting data.\n");
        const std::int32_t status =
            filter_.SetFieldValue(record_.get(), &column, 0, value.text.c_str(),
                                  static_cast<std::int32_t>(value.text.size()), target_.position(index));
        return WDB_SUCCESS(status) || kernelFault(filter_, status);
    }

    /// A sub-query without a row is a value of no class.
    bool evaluate(const WSQLScalar& expression, Value& value) {
        if (const auto* query = dynamic_cast<const WSQLLiteralSelect*>(&expression)) {
            SubselectValue found;
            if (!fetchSubselect(filter_, *query, found)) return false;
            if (!found.hasRow) return true;
            value.literal = classOfItem(*query->select->item(0), found.type);
            value.null = found.null;
            value.text = std::move(found.text);
            return true;
        }
        CStringBuffer text(256);
        expression.toText(text);
        value.literal = classOf(expression);
        value.null = isNullValue(expression);
        value.text = text.view();
        return true;
    }

    WSQLFilter& filter_;
    const Target& target_;
    WelkRecord& record_;
};

/// One record from each row of the statement's SELECT.
class SelectInsert {
public:
    SelectInsert(WSQLFilter& filter, const Target& target, WelkRecord& record)
        : filter_(filter), target_(target), record_(record), rows_(filter, *target.insert.select) {}

    /// rows receives the number of records that were stored, after a fault too.
    bool run(std::int32_t& rows) {
        if (!rows_.open()) return false;
        RowOutcome outcome = rows_.next();
        for (bool first = true; outcome == RowOutcome::kRow; first = false) {
            if (!first && !renew()) return false;
            filter_.debug(kLog, "Inserting row #%d.\n", rows + 1);
            if (!setColumns() || !store(rows)) return false;
            outcome = rows_.next();
        }
        return outcome == RowOutcome::kNone;
    }

private:
    bool renew() {
        record_.reset();
        return filter_.CreateControl(record_.slot(), target_.insert.table->table.c_str(), WDB_MODE_WRITE);
    }

    /// The kernel alone judges what fits; NULL writes nothing, and neither does a missing item.
    bool setColumns() {
        const WSQLRowData& row = rows_.row();
        const auto columns = static_cast<std::int32_t>(target_.columns.size());
        for (std::int32_t i = 0; i < columns && i < row.count(); ++i) {
            if (row.value(i) == nullptr) continue;
            const WELKFieldInfo& field = *target_.columns[static_cast<std::size_t>(i)];
            const std::int32_t status = field.type == WDB_T_STRING
                                            ? setObject(field, row.value(i), row.size(i))
                                            : filter_.SetFieldValue(record_.get(), &field, 0, row.value(i),
                                                                    row.size(i), target_.position(i));
            if (!WDB_SUCCESS(status)) return kernelFault(filter_, status);
        }
        return true;
    }

    /// Objects are stored whole.
    std::int32_t setObject(const WELKFieldInfo& field, const char* data, std::int32_t length) {
        WelkTuple tuple;
        const std::int32_t status = tuple.place(record_.get(), static_cast<std::int32_t>(field.number), 0, 0);
        return WDB_SUCCESS(status) ? WdbPutBlobBlock(tuple.get(), length, data) : status;
    }

    bool store(std::int32_t& rows) {
        filter_.debug(kLog, "Storing new record.\n");
        std::int32_t recordId = 0;
        const std::int32_t status = WdbPutRecord(record_.get(), &recordId);
        if (!WDB_SUCCESS(status)) return target_.insert.ignore || kernelFault(filter_, status);
        filter_.debug(kLog, "Stored record #%d.", recordId);
        ++rows;
        return true;
    }

    WSQLFilter& filter_;
    const Target& target_;
    WelkRecord& record_;
    ValueRows rows_;
};

}  // namespace

bool WSQLFilter::ExecuteInsert(WSQLStmtInsert* insert) {
    debug(kLog, "Entered.\n");
    if (!insert->table) return fault(*this, "Internal error - table reference was NULL.");
    if (!UseZeroSearchSets()) return false;
    const std::string& name = insert->table->table;
    IndexReferencedDatabases(name.c_str(), false);
    WelkRecord record;
    if (!CreateControl(record.slot(), name.c_str(), WDB_MODE_WRITE)) return false;
    Target target{*insert, {}};
    std::string unknown;
    targetColumns(*insert, target.columns, unknown);
    std::int32_t rows = 0;
    const bool done = count(insert->values) > 0 ? ValuesInsert(*this, target, record).run(rows)
                                                : SelectInsert(*this, target, record).run(rows);
    // Rows in front of one that failed stay stored.
    if (rows > 0) IndexDatabase(name.c_str(), false, false);
    if (!done) return false;
    answerRowCount(*this, "INSERT", name, rows);
    debug(kLog, "Completed.\n");
    return true;
}

}  // namespace wsql
