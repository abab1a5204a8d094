#include "kernel/index/RecordMatcher.h"

#include "kernel/record/Value.h"
#include "kernel/record/ValueKey.h"

namespace wdb {

bool RecordMatcher::phrase(const RecordView& record, FieldNumber field, std::span<const Pattern> patterns) {
    if (patterns.empty()) return false;
    for (PartNumber part = 0; part <= record.partCount(); ++part) {
        bool found = false;
        uint32_t position = 0;
        open_.clear();
        analyzer_.words(record.items(part, field).first(), [&](const Word& word) {
            if (found) return;
            if (word.position != position + 1) open_.clear();
            position = word.position;
            size_t kept = 0;
            for (const size_t length : open_) {
                if (!patterns[length].match(word.term)) continue;
                open_[kept++] = length + 1;
            }
            open_.resize(kept);
            if (patterns[0].match(word.term)) open_.push_back(1);
            for (const size_t length : open_) found = found || length == patterns.size();
        });
        if (found) return true;
    }
    return false;
}

bool RecordMatcher::anyWord(const RecordView& record, FieldNumber field,
                            const std::function<bool(Slice)>& test) {
    for (PartNumber part = 0; part <= record.partCount(); ++part) {
        bool found = false;
        analyzer_.words(record.items(part, field).first(),
                        [&](const Word& word) { found = found || test(word.term); });
        if (found) return true;
    }
    return false;
}

bool RecordMatcher::anyKey(const RecordView& record, const FieldDefinition& field,
                           const std::function<bool(Slice)>& test) {
    for (PartNumber part = 0; part <= record.partCount(); ++part) {
        for (const Slice item : record.items(part, field.number)) {
            if (!item.empty() && isCanonical(field.type, item) && test(wholeValueKey(field.type, item)))
                return true;
        }
    }
    return false;
}

std::string RecordMatcher::firstKey(const RecordView& record, const FieldDefinition& field) {
    for (PartNumber part = 0; part <= record.partCount(); ++part) {
        const ItemList items = record.items(part, field.number);
        if (items.empty()) continue;
        const Slice first = items.first();
        return first.empty() || !isCanonical(field.type, first) ? std::string()
                                                                : wholeValueKey(field.type, first);
    }
    return {};
}

}  // namespace wdb
