#include "kernel/search/Distinct.h"

#include <memory>
#include <unordered_set>

#include <xxhash.h>

#include "kernel/common/ByteOrder.h"
#include "kernel/record/Value.h"
#include "kernel/text/Normalize.h"

namespace wdb {

namespace {

constexpr size_t kNormalizedLength = 256;

}  // namespace

Status RowKeyMaker::append(const RowView& row, std::string& key) {
    using Kind = OutputColumn::Kind;
    for (const OutputColumn& column : columns_) {
        const size_t before = key.size();
        if (column.kind == Kind::Field && !holdsItems(column.type)) {
            WDB_TRY(appendReference(column, row.tables[column.table], key));
        } else if (column.kind == Kind::Field) {
            visitItems(column, row.tables[column.table], [&](Slice item) {
                text_.clear();
                if (!item.empty()) renderValue(column.type, item, form_, text_);
                appendValue(text_, key);
            });
        } else {
            const FieldType type =
                column.kind == Kind::Computed ? row.computed[column.computed].type : column.type;
            columnValues(column, row, form_, [&](Slice value) {
                text_.clear();
                renderValue(type, value, form_, text_);
                appendValue(text_, key);
            });
        }
        if (key.size() == before) appendValue({}, key);
    }
    return WDB_OK;
}

// NULL has the length 0, which no value has.
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

Status distinctRows(std::span<const OutputColumn> columns, const SourceRows& source, InlineValues inlined,
                    std::vector<uint32_t>& kept) {
    RowKeyMaker maker(columns, source.tables.context().dateForm(), inlined);
    std::unordered_set<std::string> seen;
    std::string key;
    Status status = WDB_OK;
    WDB_TRY(forEachRow(source, [&](size_t row, const RowView& view) {
        if (status != WDB_OK) return;
        key.clear();
        status = maker.append(view, key);
        if (status == WDB_OK && seen.insert(key).second) kept.push_back(static_cast<uint32_t>(row));
    }));
    return status;
}

}  // namespace wdb
