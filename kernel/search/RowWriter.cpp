#include "kernel/search/RowWriter.h"

#include <charconv>

#include "kernel/record/Value.h"

namespace wdb {

namespace {

constexpr uint32_t kText = 1;
constexpr uint32_t kNull = 2;
constexpr uint32_t kReference = 4;
constexpr uint32_t kFirst = 8;
constexpr uint32_t kZeroFollows = 128;

void appendNumber(std::string& out, uint64_t number) {
    char digits[20];
    const auto result = std::to_chars(digits, digits + sizeof digits, number);
    out.append(digits, result.ptr);
}

}  // namespace

RowWriter::RowWriter(RowItems& row, const DateForm& form) : row_(row), form_(form) {
    row_.words.assign(2, 0);
    row_.data.clear();
}

void RowWriter::write(std::span<const OutputColumn> columns, const RecordView& record, RecordNumber number) {
    for (const OutputColumn& one : columns) column(one, &record, number);
    finish(number, 0);
}

void RowWriter::writeConstants(std::span<const OutputColumn> columns) {
    for (const OutputColumn& one : columns) column(one, nullptr, 0);
    finish(0, 0);
}

void RowWriter::column(const OutputColumn& column, const RecordView* record, RecordNumber number) {
    using Kind = OutputColumn::Kind;
    const size_t start = row_.data.size();
    if (column.kind == Kind::Constant) return text(column.text);
    if (column.kind == Kind::Null || record == nullptr) return null(true);
    if (column.kind == Kind::Record) {
        appendNumber(row_.data, number);
        return item(start, kText | kFirst);
    }
    const ItemList list = record->items(column.field);
    if (holdsItems(column.type)) return items(column, list);
    if (list.empty()) return null(true);
    row_.data += column.name;
    row_.data += ',';
    appendNumber(row_.data, number);
    row_.data += ",0";
    item(start, kText | kReference | kFirst);
}

void RowWriter::items(const OutputColumn& column, const ItemList& items) {
    if (column.first > 0 && column.first == column.last) return value(column, items.at(column.first), true);
    uint32_t position = 0;
    for (const Slice one : items) {
        if (column.last > 0 && position == column.last) break;
        value(column, one, ++position == 1);
    }
    if (position == 0) null(true);
}

void RowWriter::value(const OutputColumn& column, Slice canonical, bool first) {
    if (canonical.empty()) return null(first);
    const size_t start = row_.data.size();
    renderValue(column.type, canonical, form_, row_.data);
    item(start, kText | (first ? kFirst : 0));
}

void RowWriter::null(bool first) {
    row_.words.push_back(0);
    row_.words.push_back(kNull | (first ? kFirst : 0));
}

void RowWriter::text(std::string_view text) {
    const size_t start = row_.data.size();
    row_.data += text;
    item(start, kText | kFirst);
}

void RowWriter::item(size_t start, uint32_t flags) {
    row_.words.push_back(static_cast<uint32_t>(row_.data.size() - start));
    row_.words.push_back(flags | kZeroFollows);
    row_.data += '\0';
}

void RowWriter::finish(RecordNumber number, PartNumber part) {
    row_.words[0] = static_cast<uint32_t>((row_.words.size() - 2) / 2);
    row_.words.push_back(number);
    row_.words.push_back(part);
    row_.words[1] = static_cast<uint32_t>(row_.words.size());
    row_.data += '\0';
}

}  // namespace wdb
