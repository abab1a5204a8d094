// Fetching rows: from a search set through the kernel's row interface, or from the constants of the
// statement.
#include <algorithm>
#include <string>

#include "src/RowElements.h"
#include "src/SelectDocument.h"
#include "src/SelectOutput.h"
#include "src/WSQLFilter.h"
#include "src/WSQLRowBuffers.h"
#include "src/WSQLRowCursor.h"
#include "src/WSQLRowData.h"
#include "src/support/text.h"
#include "src/welkhelp/ValueFilter.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::GetNextJoinRow";
constexpr std::int32_t kNothing = -1;

bool isDeleted(std::int32_t status) {
    switch (status) {
        case WDB_E_DELETED:
        case WDB_E_DELETED_2:
        case WDB_E_DELETED_3:
        case WDB_E_DELETED_4:
        case WDB_E_DELETED_5:
        case WDB_E_DELETED_6:
            return true;
        default:
            return false;
    }
}

void addConstant(const OutputColumn& column, WSQLRowData& row) {
    if (column.constantNull) {
        row.addNull();
    } else {
        row.add(column.constantText, column.base64 ? ValueForm::kBase64 : ValueForm::kText);
    }
}

/// "field,record,part".
struct FieldReference {
    std::string_view field;
    std::int32_t record = 0;
    std::int32_t part = 0;

    explicit FieldReference(std::string_view text) {
        const std::size_t partComma = text.rfind(',');
        if (partComma == std::string_view::npos || partComma == 0) return;
        const std::size_t recordComma = text.rfind(',', partComma - 1);
        if (recordComma == std::string_view::npos) return;
        field = text.substr(0, recordComma);
        record = decimalPrefix(text.substr(recordComma + 1, partComma - recordComma - 1));
        part = decimalPrefix(text.substr(partComma + 1));
    }
};

/// Turns the items of one row into one value per output column.
class RowAssembler {
public:
    RowAssembler(WSQLFilter& filter, SelectOutput& output, WSQLRowBuffers& buffers, WSQLRowData& row)
        : filter_(filter), output_(output), buffers_(buffers), row_(row), trace_(filter.logs(kLogDebug)) {}

    void assemble() {
        std::int32_t number = 0;
        for (const OutputColumn& column : output_.columns()) {
            ++number;
            if (column.isConstant()) {
                skip();
                addConstant(column, row_);
            } else {
                collect(column, number);
            }
            if (trace_) log(number);
        }
    }

private:
    void skip() {
        while (!buffers_.atEnd()) {
            buffers_.next();
            if (buffers_.atColumn()) return;
        }
    }

    /// Reads the column's items; a column without a value becomes NULL.
    void collect(const OutputColumn& column, std::int32_t number) {
        if (trace_ && (column.list || column.subscript > 0)) {
            filter_.debug(kContext, "Subfield range is [%d-%d]\n", column.range.first, column.range.last);
        }
        CStringBuffer& value = row_.beginValue();
        ValueForm form = ValueForm::kText;
        bool present = false;
        for (std::int32_t ordinal = 1; !buffers_.atEnd(); ++ordinal) {
            const RowItem item = buffers_.next();
            const bool last = buffers_.atColumn();
            if (item.has(RowItem::kNull)) {
                if (trace_) filter_.debug(kContext, "Parsed value (NULL) for field #%d\n", number);
            } else if (item.has(RowItem::kReference)) {
                present = reference(column, number, item.text, value, form) || present;
            } else {
                if (trace_) logValue(number, item.text);
                // A single item of a column that asks for one value is that value, whatever its number.
                const bool only = column.subscript > 0 && ordinal == 1 && last;
                if (only || column.range.contains(ordinal)) {
                    addText(column, item.text, value);
                    present = true;
                }
            }
            if (last) break;
        }
        row_.endValue(form, present);
    }

    void addText(const OutputColumn& column, std::string_view text, CStringBuffer& value) {
        if (row_.valueLength() > 0) append(column.range.separator, value);
        append(text, value);
    }

    void append(std::string_view text, CStringBuffer& value) {
        if (output_.isRaw()) {
            value.append(text);
        } else {
            appendXmlText(filter_.conversionSet(), value, text);
        }
    }

    /// A value that stays in the record: read now, or named by a key. False when there is none.
    bool reference(const OutputColumn& column, std::int32_t number, std::string_view text,
                   CStringBuffer& value, ValueForm& form) {
        const FieldReference reference(text);
        if (trace_) {
            filter_.debug(kContext, "Parsed field reference \"%s\",%d,%d\n",
                          std::string(reference.field).c_str(), reference.record, reference.part);
        }
        const WELKFieldInfo* field =
            output_.isUnion() ? output_.fieldNamed(filter_, reference.field) : column.field.get();
        if (field == nullptr) return false;
        if (!output_.isInline(field->type)) {
            form = ValueForm::kKey;
            appendFetchKey(value, field->database, reference.record, field->partField ? reference.part : 0,
                           static_cast<std::int32_t>(field->number));
            if (trace_) {
                filter_.debug(kContext, "Added retrieval key %s for field #%d\n",
                              std::string(value.view().substr(offset(value))).c_str(), number);
            }
            return true;
        }
        const bool coded = field->type == WDB_T_STRING || (field->flags & WDB_F_PLAIN) != 0;
        if (!fetch(column, *field, reference, number, value)) return false;
        if (coded && !output_.isRaw()) form = ValueForm::kBase64;
        return true;
    }

    /// Reads the value out of the record; false when there is none or it cannot be read.
    bool fetch(const OutputColumn& column, const WELKFieldInfo& field, const FieldReference& reference,
               std::int32_t number, CStringBuffer& value) {
        if (trace_) {
            filter_.debug(kContext, "Fetching value for field %s in record %d.\n", field.name.c_str(),
                          reference.record);
        }
        CStringBuffer fetched(1024);
        const std::int32_t status =
            filter_.GetFieldValue(field, reference.record, reference.part, fetched,
                                  ValueFilter(filter_, column.range), !output_.isRaw());
        if (status == kNothing) {
            if (trace_) filter_.debug(kContext, "Parsed value (NULL) for field #%d\n", number);
            return false;
        }
        if (!WDB_SUCCESS(status)) {
            if (trace_) filter_.debug(kContext, "Error #%d in GetFieldValue while parsing value.\n", status);
            return false;
        }
        if (trace_) filter_.debug(kContext, "Fetched value for field #%d: \n", number);
        value.append(fetched);
        return true;
    }

    std::size_t offset(const CStringBuffer& value) const {
        return static_cast<std::size_t>(value.length() - row_.valueLength());
    }

    void logValue(std::int32_t number, std::string_view text) {
        filter_.debug(kContext, "Parsed value for field #%d: \"%s\"\n", number, std::string(text).c_str());
    }

    void log(std::int32_t number) {
        const char* value = row_.value(row_.count() - 1);
        filter_.debug(kContext, "Col#%d: %s\n", number, value != nullptr ? value : "(null)");
    }

    WSQLFilter& filter_;
    SelectOutput& output_;
    WSQLRowBuffers& buffers_;
    WSQLRowData& row_;
    bool trace_;
};

/// Fetches the first row from the row's index on whose record is still there.
RowOutcome fetchLive(WSQLFilter& filter, WSQLRowData& row, bool ahead, WSQLRowBuffers& buffers) {
    const bool trace = filter.logs(kLogDebug);
    for (;; ++row.index) {
        const auto index = static_cast<std::int32_t>(row.index);
        if (trace) {
            const auto place = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(&buffers));
            filter.debug(kContext, "data->recno=%d\n", index);
            filter.debug(kContext, "nRecCount=%d\n", row.hitCount);
            if (row.index < row.hitCount) {
                filter.debug(kContext, "WdbGetRows(%d,%d,1,%08x,%08x);\n", row.setNumber, index, place,
                             place);
            }
        }
        if (row.index >= row.hitCount) {
            filter.debug(kContext, "End of search set reached\n");
            return RowOutcome::kNone;
        }
        const std::int64_t rows = std::min<std::int64_t>(row.lastRow, row.hitCount) - row.index;
        const std::int32_t status = buffers.fetch(row.setNumber, index, ahead ? rows : 0);
        if (WDB_SUCCESS(status) && !buffers.holdsDeleted()) return RowOutcome::kRow;
        if (WDB_SUCCESS(status) || isDeleted(status)) {
            filter.debug(kContext, "WdbGetRows: Row %d is deleted - fetching next one.\n", index);
            continue;
        }
        if (status == WDB_FAIL) {
            filter.debug(kContext, "WdbGetRows: No more rows.\n");
            return RowOutcome::kNone;
        }
        filter.debug(kContext, "Unexpected error #%d fetching row %d\n", status, index);
        filter.ReportKernelError(status, kContext, "WdbGetRows");
        return RowOutcome::kFailed;
    }
}

/// Fills the row object with the row that was fetched.
void assemble(WSQLFilter& filter, SelectOutput& output, WSQLRowBuffers& buffers, WSQLRowData& row) {
    row.clear();
    row.recordNumber = buffers.recordNumber();
    row.partNumber = buffers.partNumber();
    RowAssembler(filter, output, buffers, row).assemble();
    ++row.index;
}

}  // namespace

RowOutcome WSQLFilter::GetNextJoinRow(std::unique_ptr<WSQLRowData>& row, SelectOutput& output,
                                      WSQLRowBuffers& buffers) {
    if (!row) {
        debug(kContext, "Creating a new row data object\n");
        std::int32_t set = 0, hits = 0;
        WdbSearchResult(&set, &hits, nullptr, nullptr, nullptr);
        row = std::make_unique<WSQLRowData>(set, hits, 1);
    } else {
        // The hits of a set never change: the kernel need not be asked again.
        debug(kContext, "Reusing old row data object\n");
    }
    row->clear();
    // Who stores values while it reads them takes each row when its turn has come.
    const RowOutcome outcome = fetchLive(*this, *row, !output.isRaw(), buffers);
    if (outcome != RowOutcome::kRow) return outcome;
    if (buffers.count() == 0) debug(kContext, "WdbGetRows: WdbGetRows returned %d\n", WDB_OK);
    if (logs(kLogDebug)) {
        debug(kContext, "WdbGetRows: There are %d items to process for row %d\n",
              static_cast<std::int32_t>(buffers.count()), static_cast<std::int32_t>(row->index));
    }
    assemble(*this, output, buffers, *row);
    debug(kContext, "GetNextJoinRow exiting.\n");
    return RowOutcome::kRow;
}

RowOutcome WSQLFilter::GetStaticRow(std::unique_ptr<WSQLRowData>& row, SelectOutput& output) {
    constexpr const char* kMethod = "WSQLFilter::GetStaticRow";
    if (!row) row = std::make_unique<WSQLRowData>(0, 1, 0);
    row->clear();
    if (row->index >= row->lastRow) {
        debug(kMethod, "Max row number reached\n");
        return RowOutcome::kNone;
    }
    if (row->index >= row->hitCount) {
        debug(kMethod, "End of search set reached.\n");
        return RowOutcome::kNone;
    }
    for (const OutputColumn& column : output.columns()) {
        addConstant(column, *row);
    }
    ++row->index;
    debug(kMethod, "GetNextRow exiting.\n");
    return RowOutcome::kRow;
}

RowOutcome WSQLRowCursor::next(std::unique_ptr<WSQLRowData>& row) {
    if (output_.isDictionary()) return filter_.GetNextDictRow(row, output_);
    return output_.isStatic() ? filter_.GetStaticRow(row, output_)
                              : filter_.GetNextJoinRow(row, output_, buffers_);
}

RowOutcome WSQLRowCursor::append(std::unique_ptr<WSQLRowData>& row, RowElements& elements,
                                 std::int32_t rowNumber) {
    RowOutcome outcome = RowOutcome::kNone;
    if (output_.isDictionary() || output_.isStatic()) {
        outcome = next(row);
        if (outcome != RowOutcome::kRow) return outcome;
    } else {
        outcome = fetchLive(filter_, *row, true, buffers_);
        if (outcome != RowOutcome::kRow) return outcome;
        if (elements.append(buffers_, rowNumber)) {
            ++row->index;
            return outcome;
        }
        assemble(filter_, output_, buffers_, *row);
    }
    appendRow(filter_, elements.document(), output_, *row, rowNumber, kContext);
    return outcome;
}

}  // namespace wsql
