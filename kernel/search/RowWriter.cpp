#include "kernel/search/RowWriter.h"

#include <charconv>

#include "kernel/record/Value.h"

namespace wdb {

namespace {

constexpr uint32_t kText = 1;
constexpr uint32_t kNull = 2;
constexpr uint32_t kReference = 4;
constexpr uint32_t kFirst = 8;
constexpr uint32_t kDeleted = 32;
constexpr uint32_t kZeroFollows = 128;

void appendNumber(std::string& out, uint64_t number) {
    char digits[20];
    const auto result = std::to_chars(digits, digits + sizeof digits, number);
    out.append(digits, result.ptr);
}

}  // namespace

void RowWriter::write(std::span<const OutputColumn> columns, const RowView& row, bool trailer) {
    begin_ = row_.words.size();
    row_.words.push_back(0);
    row_.words.push_back(0);
    deleted_ = trailer && row.tables.size() > 1 ? kDeleted : 0;
    for (const OutputColumn& one : columns) column(one, row);
    PartRow record;
    for (const RowRecord& table : row.tables) {
        if (!trailer || record.record != 0) break;
        record = {table.number, table.part};
    }
    finish(record);
}

void RowWriter::column(const OutputColumn& column, const RowView& row) {
    using Kind = OutputColumn::Kind;
    switch (column.kind) {
        case Kind::Field:
            return field(column, row.tables[column.table]);
        case Kind::Record: {
            const RowRecord& record = row.tables[column.table];
            if (record.number == 0) return null(kFirst);
            const size_t start = row_.data.size();
            appendNumber(row_.data, record.number);
            return item(start, kText | kFirst | (record.deleted ? deleted_ : 0));
        }
        case Kind::Computed: {
            const ComputedColumn& computed = row.computed[column.computed];
            return value(computed.type, computed.values[row.row], true);
        }
        case Kind::Arithmetic: {
            const std::optional<std::string> number = arithmeticValue(*column.arithmetic, row, form_);
            return number ? text(*number) : null(kFirst);
        }
        case Kind::Constant:
            return text(column.text);
        case Kind::Null:
            return null(kFirst);
    }
}

void RowWriter::field(const OutputColumn& column, const RowRecord& record) {
    if (record.view == nullptr) return null(kFirst | (record.deleted ? deleted_ : 0));
    const PartNumber part = column.ofParts ? record.part : 0;
    const ItemList list = record.view->items(part, column.field);
    if (holdsItems(column.type)) return items(column, list);
    if (list.empty()) return null(kFirst);
    const size_t start = row_.data.size();
    row_.data += column.name;
    row_.data += ',';
    appendNumber(row_.data, record.number);
    row_.data += ',';
    appendNumber(row_.data, part);
    item(start, kText | kReference | kFirst);
}

void RowWriter::items(const OutputColumn& column, const ItemList& items) {
    if (items.size() <= 1 && column.first <= 1) [[likely]]
        return value(column.type, items.empty() ? Slice() : *items.begin(), true);
    if (column.first > 0 && column.first == column.last)
        return value(column.type, items.at(column.first), true);
    uint32_t position = 0;
    for (const Slice one : items) {
        if (column.last > 0 && position == column.last) break;
        value(column.type, one, ++position == 1);
    }
    if (position == 0) null(kFirst);
}

void RowWriter::value(FieldType type, Slice canonical, bool first) {
    if (canonical.empty()) return null(first ? kFirst : 0);
    const size_t start = row_.data.size();
    const bool asStored = type != FieldType::Integer && type != FieldType::Date && type != FieldType::Time;
    if (asStored)
        row_.data.append(canonical);
    else
        renderValue(type, canonical, form_, row_.data);
    item(start, kText | (first ? kFirst : 0));
}

void RowWriter::null(uint32_t flags) {
    row_.words.push_back(0);
    row_.words.push_back(kNull | flags);
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

void RowWriter::finish(PartRow record) {
    row_.words[begin_] = static_cast<uint32_t>((row_.words.size() - begin_ - 2) / 2);
    row_.words.push_back(record.record);
    row_.words.push_back(record.part);
    row_.words[begin_ + 1] = static_cast<uint32_t>(row_.words.size() - begin_);
    row_.data += '\0';
}

}  // namespace wdb
