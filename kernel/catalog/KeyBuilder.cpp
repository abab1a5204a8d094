#include "kernel/catalog/KeyBuilder.h"

#include <utility>
#include <vector>

#include "kernel/record/RecordImage.h"
#include "kernel/record/ValueKey.h"

namespace wdb {

Status buildKeys(BaseWriter& writer, const FieldDefinition& field) {
    WDB_TRY(writer.dropKeysOf(field.number));
    // Collected first: a walk does not go on behind a write.
    std::vector<std::pair<std::string, RecordNumber>> keys;
    const Status walked = writer.forEachRecord(1, [&](RecordNumber number, Slice image) -> Status {
        const auto record = RecordView::validate(image);
        if (!record) return record.status();
        for (PartNumber part = 0; part <= record->partCount(); ++part) {
            for (const Slice item : record->items(part, field.number)) {
                const ValueKey key = valueKey(field.type, item);
                if (item.empty() || key.bytes.empty()) continue;
                const std::string whole = key.cut ? wholeValueKey(field.type, item) : std::string();
                keys.emplace_back(uniqueKey(field.number, key.bytes, key.cut, whole), number);
            }
        }
        return WDB_OK;
    });
    WDB_TRY(walked);
    for (const auto& [key, number] : keys) WDB_TRY(writer.setKey(key, number));
    return WDB_OK;
}

}  // namespace wdb
