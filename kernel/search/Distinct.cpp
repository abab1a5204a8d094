#include "kernel/search/Distinct.h"

#include <unordered_set>

#include "kernel/common/ByteOrder.h"
#include "kernel/record/Value.h"
#include "kernel/text/Normalize.h"

namespace wdb {

namespace {

constexpr size_t kNormalizedLength = 256;

}  // namespace

void RowKeyMaker::append(const RowView& row, std::string& key) {
    using Kind = OutputColumn::Kind;
    for (const OutputColumn& column : columns_) {
        const size_t before = key.size();
        if (column.kind == Kind::Field && !holdsItems(column.type)) {
            appendReference(column, row.tables[column.table], key);
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

void RowKeyMaker::appendReference(const OutputColumn& column, const RowRecord& record, std::string& key) {
    if (record.view == nullptr) return;
    const PartNumber part = column.ofParts ? record.part : 0;
    const Slice value = record.view->items(part, column.field).first();
    if (value.empty()) return;
    if (column.type == FieldType::Text && inlined_.texts) return appendValue(value, key);
    appendValue(column.name + ',' + std::to_string(record.number) + ',' + std::to_string(part), key);
}

Status distinctRows(std::span<const OutputColumn> columns, const SourceRows& source, InlineValues inlined,
                    std::vector<uint32_t>& kept) {
    RowKeyMaker maker(columns, source.tables.context().dateForm(), inlined);
    std::unordered_set<std::string> seen;
    std::string key;
    return forEachRow(source, [&](size_t row, const RowView& view) {
        key.clear();
        maker.append(view, key);
        if (seen.insert(key).second) kept.push_back(static_cast<uint32_t>(row));
    });
}

}  // namespace wdb
