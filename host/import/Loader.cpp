#include "host/import/Loader.h"

#include <algorithm>

#include "host/input/ColumnNames.h"
#include "host/text/Base64.h"
#include "host/text/Utf8.h"

namespace host {

namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
    return text;
}

// Everything that is not text in a TEXT or STRING field stands on one line: each run of line ends and the
// blanks around it becomes one blank.
std::string_view unfolded(std::string_view text, std::string& room) {
    if (text.find_first_of("\n\r") == std::string_view::npos) return text;
    room.clear();
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\n' && text[i] != '\r') {
            room += text[i];
            continue;
        }
        while (!room.empty() && isSpace(room.back())) room.pop_back();
        while (i + 1 < text.size() && isSpace(text[i + 1])) ++i;
        room += ' ';
    }
    return trimmed(room);
}

// Failures that concern the record alone; after any other nothing more can be stored.
bool concernsRecord(std::int32_t status) {
    return status == WDB_E_VALUE || status == WDB_E_MANDATORY || status == WDB_E_NO_PARENT;
}

}  // namespace

Loader::Loader(const std::string& table) : table_(table), columns_(listColumns(table)) {
    check(WdbSetBase(control_.get(), table_.c_str(), WDB_MODE_WRITE));
    check(WdbBeginLoad(table_.c_str(), 0));
    loading_ = true;
}

Loader::~Loader() {
    if (loading_) WdbEndLoad(table_.c_str(), 0);
}

std::vector<std::string> Loader::mapColumns(const RecordReader& reader) {
    std::vector<std::string> lacking;
    for (std::size_t i = targets_.size(); i < reader.columns().size(); ++i) {
        const std::string& name = reader.columns()[i];
        const auto found = std::find_if(columns_.begin(), columns_.end(), [&](const TableColumn& column) {
            return equalNames(column.name, name);
        });
        targets_.push_back(found == columns_.end() ? nullptr : &*found);
        if (found == columns_.end()) lacking.push_back(name);
    }
    return lacking;
}

std::int32_t Loader::setItem(const TableColumn& column, std::int32_t position, std::string_view text) {
    const std::int32_t placed = WdbSetCursor(cursor_.address(), control_.get(), column.number, 0, position);
    if (!WDB_SUCCESS(placed)) return placed;
    return WdbReplaceItem(cursor_.get(), text.data(), static_cast<std::int32_t>(text.size()));
}

std::int32_t Loader::setWhole(const TableColumn& column, std::string_view text) {
    const std::int32_t placed = WdbSetCursor(cursor_.address(), control_.get(), column.number, 0, 0);
    if (!WDB_SUCCESS(placed)) return placed;
    const auto length = static_cast<std::int32_t>(text.size());
    return column.type == WDB_T_TEXT ? WdbPutLine(cursor_.get(), text.data(), length)
                                     : WdbPutBlobBlock(cursor_.get(), length, text.data());
}

std::int32_t Loader::setList(const TableColumn& column, std::string_view text) {
    std::int32_t position = 0;
    while (!text.empty()) {
        const auto comma = text.find(',');
        const std::string_view item = trimmed(text.substr(0, comma));
        text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
        if (item.empty()) continue;
        const std::int32_t status = setItem(column, ++position, item);
        if (!WDB_SUCCESS(status)) return status;
    }
    return WDB_OK;
}

// An empty line leaves its position empty.
std::int32_t Loader::setLines(const TableColumn& column, std::string_view text) {
    if (text.find('\n') == std::string_view::npos) return setItem(column, 0, text);
    for (std::int32_t position = 1;; ++position) {
        const auto end = text.find('\n');
        const std::string_view item = text.substr(0, end);
        const std::int32_t status = item.empty() ? WDB_OK : setItem(column, position, item);
        if (!WDB_SUCCESS(status) || end == std::string_view::npos) return status;
        text.remove_prefix(end + 1);
    }
}

std::int32_t Loader::setValue(const TableColumn& column, const RecordReader& reader,
                              const InputValue& value) {
    std::string_view text = value.text;
    if (text.size() > INT32_MAX) return WDB_E_VALUE;
    const ValueForm form = reader.form();
    if (column.type == WDB_T_STRING && form == ValueForm::cells) {
        line_ = decodeBase64(text);
        return setWhole(column, line_);
    }
    if (column.type == WDB_T_TEXT || column.type == WDB_T_STRING) return setWhole(column, text);
    if (form == ValueForm::exact) return setItem(column, value.position, text);
    if (form == ValueForm::cells) return setLines(column, text);
    text = unfolded(text, line_);
    return reader.isList(value.column) ? setList(column, text) : setItem(column, 0, text);
}

// Makes the parts up to the wanted one where they are missing; a new one is the current one.
std::int32_t Loader::selectPart(std::int32_t part) {
    if (part == part_) return WDB_OK;
    std::int32_t count = 0;
    check(WdbPartCount(control_.get(), &count));
    while (count < part) check(WdbAddRecordPart(control_.get(), &count));
    part_ = part;
    return WdbSetRecordPart(nullptr, control_.get(), part);
}

bool Loader::put(const RecordReader& reader, const InputRecord& record, std::string& reason) {
    check(WdbNewRecord(control_.get()));
    part_ = 0;
    for (const InputValue& value : record.values) {
        const TableColumn* column = targets_[value.column];
        if (column == nullptr) continue;
        if (column->type != WDB_T_STRING && !isUtf8(value.text)) {
            lastStatus_ = WDB_E_VALUE;
            reason = column->name + " is not UTF-8";
            ++counts_.refused;
            return false;
        }
        check(selectPart(value.part));
        const std::int32_t status = setValue(*column, reader, value);
        if (WDB_SUCCESS(status)) continue;
        lastStatus_ = status;
        if (!concernsRecord(status)) throw KernelError(status, kernelMessage(status));
        constexpr std::size_t kShown = 60;
        reason = column->name + " cannot hold \"" + std::string(value.text.substr(0, kShown)) +
                 (value.text.size() > kShown ? "...\"" : "\"") + ": " + kernelMessage(status);
        ++counts_.refused;
        return false;
    }
    check(selectPart(record.parts));
    check(selectPart(0));
    std::int32_t recordId = 0;
    const std::int32_t status = WdbPutRecord(control_.get(), &recordId);
    lastStatus_ = status;
    if (WDB_SUCCESS(status)) {
        ++counts_.stored;
        return true;
    }
    if (status == WDB_E_DUPLICATE) {
        ++counts_.duplicates;
        return true;
    }
    if (!concernsRecord(status)) throw KernelError(status, kernelMessage(status));
    reason = kernelMessage(status);
    ++counts_.refused;
    return false;
}

void Loader::commit() {
    loading_ = false;
    check(WdbEndLoad(table_.c_str(), 1));
}

}  // namespace host
