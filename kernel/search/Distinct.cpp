#include "kernel/search/Distinct.h"

#include <memory>
#include <unordered_map>

#include <xxhash.h>

#include "kernel/common/ByteOrder.h"
#include "kernel/record/Value.h"
#include "kernel/text/Normalize.h"

namespace wdb {

namespace {

constexpr size_t kNormalizedLength = Spellings::kNormalizedLength;

}  // namespace

Status RowKeyMaker::append(const RowView& row, std::string& key) {
    using Kind = OutputColumn::Kind;
    for (const OutputColumn& column : columns_) {
        const size_t before = key.size();
        if (column.kind == Kind::Field && !holdsItems(column.type)) {
            WDB_TRY(appendReference(column, row.tables[column.table], key));
        } else if (column.kind == Kind::Field) {
            appendItems(column, row.tables[column.table], key);
        } else {
            const FieldType type =
                column.kind == Kind::Computed ? row.computed[column.computed].type : column.type;
            columnValues(column, row, form_, [&](Slice value) {
                text_.clear();
                renderValue(type, value, form_, text_);
                appendValue(text_, key);
            });
        }
        if (key.size() == before) appendNull(key);
    }
    return WDB_OK;
}

void RowKeyMaker::appendItems(const OutputColumn& column, const RowRecord& record, std::string& key) {
    text_.clear();
    visitItems(column, record, [&](Slice item) {
        if (item.empty()) return;
        if (!text_.empty()) text_ += "; ";
        renderValue(column.type, item, form_, text_);
    });
    if (!text_.empty()) appendValue(text_, key);
}

// Stands where a length does, and is none.
void RowKeyMaker::appendNull(std::string& key) {
    appendBig(key, UINT32_MAX);
    key += '\0';
}

void RowKeyMaker::appendValue(Slice text, std::string& key) {
    appendBig(key, static_cast<uint32_t>(text.size()));
    if (text.size() <= kNormalizedLength)
        normalizeTo(text, kNormalizeValue, key);
    else
        key += text;
    key += '\0';
}

Status RowKeyMaker::appendReference(const OutputColumn& column, const RowRecord& record, std::string& key) {
    if (record.view == nullptr) return WDB_OK;
    const PartNumber part = column.ofParts ? record.part : 0;
    const Slice value = record.view->items(part, column.field).first();
    if (value.empty()) return WDB_OK;
    if (column.type == FieldType::String && inlined_.objects && record.snapshot != nullptr)
        return appendObject(value, *record.snapshot, key);
    if (column.type == FieldType::Text && inlined_.texts)
        appendValue(value, key);
    else
        appendValue(column.name + ',' + std::to_string(record.number) + ',' + std::to_string(part), key);
    return WDB_OK;
}

// Of an object that is not small its size and a digest stand for the contents.
Status RowKeyMaker::appendObject(Slice reference, const BaseSnapshot& snapshot, std::string& key) {
    const Result<ObjectReference> object = ObjectReference::decode(reference);
    if (!object) return object.status();
    const BaseReader reader = snapshot.reader();
    const std::unique_ptr<XXH3_state_t, decltype(&XXH3_freeState)> digest(XXH3_createState(),
                                                                          &XXH3_freeState);
    if (digest == nullptr) return WDB_E_MEMORY;
    XXH3_128bits_reset(digest.get());
    for (uint32_t chunk = 0; chunk < object->chunks(); ++chunk) {
        const Result<Slice> bytes = reader.objectChunk(object->id, chunk);
        if (!bytes) return bytes.status() == WDB_FAIL ? Status{WDB_E_CORRUPT} : bytes.status();
        if (object->size <= kNormalizedLength) {
            appendValue(*bytes, key);
            return WDB_OK;
        }
        XXH3_128bits_update(digest.get(), bytes->data(), bytes->size());
    }
    const XXH128_hash_t sum = XXH3_128bits_digest(digest.get());
    appendBig(key, object->size);
    appendBig(key, sum.high64);
    appendBig(key, sum.low64);
    key += '\0';
    return WDB_OK;
}

namespace {

// Rows by the bytes of their keys.
Status numbersByKey(std::span<const OutputColumn> columns, const SourceRows& source, InlineValues inlined,
                    std::vector<uint32_t>& numbers, uint32_t& count) {
    RowKeyMaker maker(columns, source.tables.context().dateForm(), inlined);
    std::unordered_map<std::string, uint32_t> seen;
    std::string key;
    Status status = WDB_OK;
    numbers.assign(source.rows.size(), 0);
    WDB_TRY(forEachRow(source, [&](size_t row, const RowView& view) {
        if (status != WDB_OK) return;
        key.clear();
        status = maker.append(view, key);
        numbers[row] = seen.try_emplace(key, static_cast<uint32_t>(seen.size())).first->second;
    }));
    count = static_cast<uint32_t>(seen.size());
    return status;
}

}  // namespace

// Columns whose values the index orders need no records; the others are read together.
Status distinctRows(std::span<const OutputColumn> columns, const SourceRows& source, InlineValues inlined,
                    std::vector<uint32_t>& kept) {
    std::vector<uint32_t> numbers, others;
    uint32_t count = 0;
    std::vector<OutputColumn> read;
    const auto take = [&](uint32_t otherCount) {
        if (numbers.empty()) {
            numbers.swap(others);
            count = otherCount;
        } else {
            count = combineNumbers(numbers, others);
        }
    };
    for (const OutputColumn& column : columns) {
        uint32_t otherCount = 0;
        const Status status = distinctNumbers(column, source, others, otherCount);
        if (status != WDB_OK && status != WDB_FAIL) return status;
        if (status == WDB_OK)
            take(otherCount);
        else
            read.push_back(column);
    }
    if (!read.empty() || columns.empty()) {
        uint32_t otherCount = 0;
        WDB_TRY(numbersByKey(read, source, inlined, others, otherCount));
        take(otherCount);
    }
    std::vector<char> seen(count, 0);
    for (uint32_t row = 0; row < numbers.size(); ++row) {
        if (seen[numbers[row]]) continue;
        seen[numbers[row]] = 1;
        kept.push_back(row);
    }
    return WDB_OK;
}

}  // namespace wdb
