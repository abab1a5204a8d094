// sqlsetobject and UPDATE ... SET OBJECT: one object into one field of the records that a record number or a
// condition selects.
#include <algorithm>
#include <string>

#include "src/FoundRecords.h"
#include "src/ObjectSource.h"
#include "src/RowCountDocument.h"
#include "src/StatusScope.h"
#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/CommandWord.h"
#include "src/welkhelp/WelkRecord.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::ExecuteSetObject";
constexpr const char* kUnit = "src/WSQLExecSetObject";
constexpr const char* kReadFault = "Failed to read file data";
constexpr std::size_t kChunk = 8192;       ///< bytes of a file written with one call
constexpr std::int64_t kLarge = 16 << 20;  ///< bytes that the allocator shall not keep
constexpr std::uint32_t kAllocateInMemory = 36;

class ObjectStore {
public:
    ObjectStore(WSQLFilter& filter, WSQLStmtSetObject& statement)
        : filter_(filter),
          statement_(statement),
          name_(statement.table ? statement.table->table : statement.databaseName) {}

    bool check() {
        if (!filter_.DBTableExists(name_.c_str()))
            return kernelFault(filter_.lastStatus(), kUnit, "validation");
        if (statement_.where && !checkCondition()) return false;
        if (!statement_.table) return true;
        WSQLColumnRef& column = *statement_.column;
        if (!filter_.DBColumnExists(&column, name_.c_str()))
            return kernelFault(filter_.lastStatus(), kContext, "validation");
        if (column.fieldType == WDB_T_TEXT || column.fieldType == WDB_T_STRING) return true;
        return fault("Column \"" + column.column + "\" in table \"" + name_ +
                         "\" is of an incompatible type. Must be LONG VARCHAR or LONG VARBINARY.",
                     "validation");
    }

    /// Makes the records to be written the current result.
    bool search() {
        if (!filter_.SearchOpenDB(name_.c_str())) return false;
        if (statement_.table)
            return searchRecords(filter_, statement_.where.get(), kContext, kContext, found_);
        CStringBuffer record(64);
        record.format("%s=%d", CommandWord(filter_, "RXX").text(),
                      static_cast<std::int32_t>(statement_.recordId));
        const std::int32_t status =
            filter_.ExecuteCCL("%s %s", CommandWord(filter_, "FIN").text(), record.text());
        if (!WDB_SUCCESS(status)) return kernelFault(status, kContext, "execution");
        return searchRecords(filter_, nullptr, kContext, kContext, found_);
    }

    bool openSource() {
        const bool open =
            statement_.table ? source_.openStatement(statement_) : source_.openHost(*filter_.filterData());
        return open || fault("Could not open file \"" + source_.fileName() + "\" for reading.", "fopen");
    }

    bool storeAll() {
        WelkRecord record;
        for (std::int32_t k = 1; k <= found_.count; ++k) {
            const FoundRecord found = openFound(filter_, record, found_, k, WDB_MODE_WRITE, nullptr);
            if (found == FoundRecord::kFailed) return false;
            if (found == FoundRecord::kOpen && !store(record.get())) return false;
        }
        if (found_.count > 0 && isText()) filter_.IndexDatabase(name_.c_str(), false, false);
        return true;
    }

    void answer() {
        filter_.filterData()->wdb_options = kAllocateInMemory;
        if (!statement_.table) return filter_.ReportSuccess("Object successfully stored.");
        CStringBuffer document(1024);
        appendRowCountDocument(filter_, document, "UPDATE", name_, found_.count);
        filter_.setStatus(WDB_OK);
        filter_.SetAnswer(document);
    }

private:
    bool fault(const std::string& text, const char* phase) {
        filter_.WriteFaultDocument(0, text.c_str(), static_cast<std::int32_t>(text.size()), kContext, phase);
        return false;
    }
    bool kernelFault(std::int32_t status, const char* source, const char* context) {
        filter_.ReportKernelError(status, source, context);
        return false;
    }
    bool isText() const { return statement_.column->fieldType == WDB_T_TEXT; }

    bool checkCondition() {
        filter_.debug(kContext, "Validating condition.\n");
        if (filter_.ValidateCondition(&statement_, statement_.where.get())) {
            filter_.debug(kContext, "Condition is ok.\n");
            return true;
        }
        const std::int32_t status = filter_.lastStatus();
        // A fault that no kernel status stands behind says more than the message for its number would.
        return filter_.answered() && WDB_SUCCESS(status) ? false : kernelFault(status, kUnit, "validation");
    }

    bool store(WdbRecordControl* record) {
        if (statement_.part > 0) {
            const std::int32_t status =
                WdbSetRecordPart(nullptr, record, static_cast<std::int32_t>(statement_.part));
            if (!WDB_SUCCESS(status)) return kernelFault(status, kContext, "WdbSetRecordPart");
        }
        WelkTuple cursor;
        std::int32_t status = cursor.place(record, statement_.column->fieldNumber, 0, 0);
        if (!WDB_SUCCESS(status)) return kernelFault(status, kContext, "WdbSetCursor");
        const bool put = isText() ? putText(cursor.get()) : putBinary(cursor.get());
        if (source_.size() >= kLarge) filter_.trimAtEnd();
        if (!put) return false;
        std::int32_t recordId = 0;
        status = WdbPutRecord(record, &recordId);
        return WDB_SUCCESS(status) || kernelFault(status, kContext, "WdbPutRecord");
    }

    bool putBlock(WdbCursor* cursor, const char* data, std::size_t length) {
        const std::int32_t status = WdbPutBlobBlock(cursor, static_cast<std::int32_t>(length), data);
        return WDB_SUCCESS(status) || kernelFault(status, kContext, "WdbPutBlobBlock");
    }

    bool putBinary(WdbCursor* cursor) {
        if (!source_.isFile()) return putBlock(cursor, source_.bytes().data(), source_.bytes().size());
        char chunk[kChunk];
        source_.rewind();
        std::size_t length = source_.read(chunk, sizeof chunk);
        do {  // an empty file makes one call, too
            if (!putBlock(cursor, chunk, length)) return false;
            length = source_.read(chunk, sizeof chunk);
        } while (length > 0);
        return !source_.failed() || fault(kReadFault, "fopen");
    }

    bool putText(WdbCursor* cursor) {
        platform::HeapText text;
        const char* data = source_.bytes().data();
        auto size = static_cast<std::int64_t>(source_.bytes().size());
        if (source_.isFile()) {
            if (!source_.readAll(text, size)) return fault(kReadFault, "fopen");
            data = text.get();
        }
        const std::int32_t status =
            size > INT32_MAX ? WDB_E_VALUE
                             : WdbPutLine(cursor, size > 0 ? data : "", static_cast<std::int32_t>(size));
        return WDB_SUCCESS(status) || kernelFault(status, kContext, "WdbPutLine");
    }

    WSQLFilter& filter_;
    WSQLStmtSetObject& statement_;
    const std::string name_;
    ObjectSource source_;
    FoundRecords found_;
};

}  // namespace

bool WSQLFilter::ExecuteSetObject(WSQLStmtSetObject* statement) {
    const StatusScope scope(*this, kContext);
    if (!UseZeroSearchSets()) return false;
    ObjectStore store(*this, *statement);
    if (!store.check() || !store.search() || !store.openSource() || !store.storeAll()) return false;
    store.answer();
    return true;
}

}  // namespace wsql
