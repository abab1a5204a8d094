#include "host/records/TableReader.h"

namespace host {

namespace {
// Room for the longest item and its NUL; lines come in pieces of one byte less.
constexpr std::int32_t kBufferSize = 64 * 1024;
constexpr std::int32_t kWholeField = 0;

// A status of reading: 0 says that there is nothing (more).
bool something(std::int32_t status) {
    if (status == WDB_FAIL) return false;
    check(status);
    return true;
}
}  // namespace

TableReader::TableReader(const std::string& table) : columns_(listColumns(table)), buffer_(kBufferSize) {
    check(WdbSetBase(control_.get(), table.c_str(), WDB_MODE_READ));
    for (const TableColumn& column : columns_) hasParts_ = hasParts_ || (column.flags & WDB_F_PART) != 0;
}

bool TableReader::next(StoredRecord& record) {
    if (!something(WdbNextRecordInBase(control_.get(), &number_))) return false;
    record.number = number_;
    readPart(0, record.head);
    record.parts.clear();
    std::int32_t parts = 0;
    if (hasParts_) check(WdbPartCount(control_.get(), &parts));
    record.parts.resize(static_cast<std::size_t>(parts));
    for (std::int32_t part = 1; part <= parts; ++part)
        readPart(part, record.parts[static_cast<std::size_t>(part) - 1]);
    return true;
}

void TableReader::readPart(std::int32_t part, StoredPart& values) {
    values.assign(columns_.size(), {});
    if (part > 0) check(WdbSetRecordPart(nullptr, control_.get(), part));
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const TableColumn& column = columns_[i];
        if (part > 0 && (column.flags & WDB_F_PART) == 0) continue;
        check(WdbSetCursor(cursor_.address(), control_.get(), column.number, 0, kWholeField));
        if (column.type == WDB_T_TEXT)
            readText(values[i]);
        else if (column.type == WDB_T_STRING)
            readObject(values[i]);
        else
            readItems(values[i], column);
    }
}

void TableReader::readItems(StoredValue& value, const TableColumn& column) {
    std::int32_t count = 0;
    check(WdbItemCount(cursor_.get(), &count));
    value.resize(static_cast<std::size_t>(count));
    for (std::int32_t item = 1; item <= count; ++item) {
        check(WdbSetCursor(cursor_.address(), control_.get(), column.number, 0, item));
        std::int32_t length = kBufferSize;
        if (something(WdbGetItem(cursor_.get(), buffer_.data(), &length)))
            value[static_cast<std::size_t>(item) - 1].emplace(buffer_.data(),
                                                              static_cast<std::size_t>(length));
    }
}

void TableReader::readText(StoredValue& value) {
    std::string text;
    bool any = false, continues = false;
    for (;;) {
        std::int32_t length = kBufferSize;
        if (!something(WdbGetLine(cursor_.get(), buffer_.data(), &length))) break;
        if (any && !continues) text += '\n';
        text.append(buffer_.data(), static_cast<std::size_t>(length));
        continues = length == kBufferSize - 1;
        any = true;
    }
    if (any) value.emplace_back(std::move(text));
}

void TableReader::readObject(StoredValue& value) {
    std::int32_t size = 0;
    check(WdbGetBlobSize(cursor_.get(), &size));
    if (size <= 0) return;
    std::string bytes(static_cast<std::size_t>(size), '\0');
    std::int32_t read = 0;
    check(WdbGetBlobBlock(cursor_.get(), 1, size, bytes.data(), &read));
    if (read != size) throw KernelError(WDB_E_CORRUPT, "a large object is shorter than its size says");
    value.emplace_back(std::move(bytes));
}

}  // namespace host
