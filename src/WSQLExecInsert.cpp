// INSERT: one new record from a list of values, and the row-count answer.
#include <string>
#include <vector>

#include "src/ElementAt.h"
#include "src/InsertColumns.h"
#include "src/RowCountDocument.h"
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

/// One record in the making.
class ValuesInsert {
public:
    ValuesInsert(WSQLFilter& filter, WSQLStmtInsert& insert, WdbRecordControl* control)
        : filter_(filter), insert_(insert), control_(control) {}

    bool setColumn(const WELKFieldInfo& column, std::int32_t index) {
        filter_.debug(kLog, "Processing column #%d\n", index + 1);
        if (insert_.values->Get(index) == nullptr) {
            return fault(filter_,
                         "Internal error: NULL pointer for column " + std::to_string(index + 1) + ".");
        }
        evaluate(index);
        const WSQLScalar& value = elementAt(*insert_.values, index);
        text_.clear();
        value.toText(text_);
        if (column.partField) return fault(filter_, partColumnText(index + 1, column.name));
        filter_.debug(kLog, "Data type verification.\n");
        if (isNullValue(value)) return true;
        const std::string mismatch = typeMismatch(value, column, index + 1, TypeRule::kExecution);
        if (!mismatch.empty()) return fault(filter_, mismatch);
        filter_.debug(kLog, "Column type verified.\n");
        filter_.debug(kLog, "Inserting data.\n");
        const std::int32_t position = insert_.columns ? elementAt(*insert_.columns, index).subscript : 0;
        const std::int32_t status =
            filter_.SetFieldValue(control_, &column, 0, text_.text(), text_.length(), position);
        return WDB_SUCCESS(status) || kernelFault(filter_, status);
    }

private:
    /// Puts the value of a sub-query into its place; one that yields none stays as it is.
    void evaluate(std::int32_t index) {
        const auto* subselect = dynamic_cast<const WSQLLiteralSelect*>(insert_.values->Get(index));
        if (subselect == nullptr) return;
        std::unique_ptr<WSQLScalar> literal = constantOf(*subselect->select);
        if (literal) insert_.values->replace(index, std::move(literal));
    }

    WSQLFilter& filter_;
    WSQLStmtInsert& insert_;
    WdbRecordControl* control_;
    CStringBuffer text_{256};
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
    std::vector<const WELKFieldInfo*> columns;
    std::string unknown;
    targetColumns(*insert, columns, unknown);
    ValuesInsert values(*this, *insert, record.get());
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (!values.setColumn(*columns[i], static_cast<std::int32_t>(i))) return false;
    }
    debug(kLog, "Storing new record.\n");
    std::int32_t recordId = 0;
    const std::int32_t status = WdbPutRecord(record.get(), &recordId);
    const bool stored = WDB_SUCCESS(status);
    if (!stored && !insert->ignore) return kernelFault(*this, status);
    if (stored) IndexDatabase(name.c_str(), false, false);
    CStringBuffer document(1024);
    appendRowCountDocument(*this, document, "INSERT", name, stored ? 1 : 0);
    setStatus(WDB_OK);
    SetAnswer(document);
    debug(kLog, "Completed.\n");
    setLastStatus(WDB_OK);
    return true;
}

}  // namespace wsql
