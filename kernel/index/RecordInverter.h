#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>

#include "kernel/common/ByteOrder.h"
#include "kernel/common/Ids.h"
#include "kernel/index/IndexFormat.h"
#include "kernel/record/RecordImage.h"
#include "kernel/record/Schema.h"
#include "kernel/record/Value.h"
#include "kernel/record/ValueKey.h"
#include "kernel/text/Analyzer.h"

namespace wdb {

// Types whose values stand in columns.
constexpr bool hasColumn(FieldType type) {
    return type == FieldType::Integer || type == FieldType::Date || type == FieldType::Time;
}

// The number that a column holds for a canonical value of such a type.
inline int64_t columnValue(FieldType type, Slice canonical) {
    return type == FieldType::Integer ? decodeInteger(canonical) : decodeDay(canonical);
}

// What a sink of the inverter (below) takes.
template <typename Sink>
concept TakesWords = requires(Sink& sink) {
    sink.word(FieldNumber{}, Slice(), uint32_t{});
};
template <typename Sink>
concept TakesValues = requires(Sink& sink) {
    sink.value(FieldNumber{}, Slice(), true);
};
template <typename Sink>
concept TakesColumns = requires(Sink& sink) {
    sink.column(FieldNumber{}, int64_t{});
};

// Turns a record into what the indexes hold of it, the same for all of them. Used by one thread. Sinks have
//   void present(FieldNumber)                     the field has a value
//   void multi(FieldNumber)                       it has more than one item
//   void word(FieldNumber, Slice key, uint32_t position)     key: field, term, 0
//   void value(FieldNumber, Slice key, bool first)           key: field, value key; may repeat; first: of the
//   first item void column(FieldNumber, int64_t value)       of a single item
// word, value and column may be left out: what a sink does not take is not worked out. Items that are no
// canonical values of their type count as present only. Fields that the schema does not know are skipped.
class RecordInverter {
public:
    template <typename Sink>
    void invert(const Schema& schema, const RecordView& record, Sink& sink) {
        if (record.deleted()) return;
        if (record.partCount() == 0) {
            const FieldsView head = record.head();
            for (size_t place = 0; place < head.size(); ++place) {
                const FieldDefinition* field = schema.find(head.field(place));
                if (field != nullptr) invertField(*field, head.itemsAt(place), sink);
            }
            return;
        }
        for (const FieldDefinition& field : schema.fields()) invertParts(field, record, sink);
    }

    // Like invert(), but leaves out the fields that are the same in another image of the record: for one who
    // compares the two.
    template <typename Sink>
    void invertDifference(const Schema& schema, const RecordView& record, const RecordView& other,
                          Sink& sink) {
        if (record.deleted()) return;
        if (other.deleted() || record.partCount() > 0 || other.partCount() > 0)
            return invert(schema, record, sink);
        const FieldsView head = record.head(), otherHead = other.head();
        for (size_t place = 0; place < head.size(); ++place) {
            const FieldDefinition* field = schema.find(head.field(place));
            if (field == nullptr) continue;
            const ItemList items = head.itemsAt(place);
            if (!same(items, otherHead.items(field->number))) invertField(*field, items, sink);
        }
    }

    Analyzer& analyzer() { return analyzer_; }

private:
    static bool same(const ItemList& a, const ItemList& b) {
        if (a.size() != b.size()) return false;
        auto at = b.begin();
        for (const Slice item : a) {
            if (item != *at) return false;
            ++at;
        }
        return true;
    }

    void startKey(FieldNumber field) {
        key_.clear();
        appendBig(key_, field);
    }

    template <typename Sink>
    void invertField(const FieldDefinition& field, const ItemList& items, Sink& sink) {
        if (items.empty()) return;
        sink.present(field.number);
        if (field.type == FieldType::Text) {
            words(field.number, items.first(), 0, sink);
        } else if (holdsItems(field.type)) {
            if (items.size() > 1) sink.multi(field.number);
            values(field, items, true, sink);
            if (items.size() == 1) column(field, items.first(), sink);
        }
    }

    template <typename Sink>
    void invertParts(const FieldDefinition& field, const RecordView& record, Sink& sink) {
        uint32_t total = 0;
        for (PartNumber part = 0; part <= record.partCount(); ++part)
            total += record.items(part, field.number).size();
        if (total == 0) return;
        sink.present(field.number);
        const bool items = holdsItems(field.type);
        if (items && total > 1) sink.multi(field.number);
        uint32_t position = 0;
        bool first = true;
        for (PartNumber part = 0; part <= record.partCount(); ++part) {
            const ItemList list = record.items(part, field.number);
            if (list.empty()) continue;
            if (field.type == FieldType::Text)
                position = words(field.number, list.first(), position, sink) + kParagraphGap;
            if (!items) continue;
            values(field, list, first, sink);
            if (total == 1) column(field, list.first(), sink);
            first = false;
        }
    }

    // Answers the position of the last word.
    template <typename Sink>
    uint32_t words(FieldNumber field, Slice text, uint32_t position, Sink& sink) {
        uint32_t last = position;
        if constexpr (TakesWords<Sink>) {
            constexpr size_t begin = sizeof field;
            std::array<char, begin + kMaxTerm + 1> key;
            storeBig(key.data(), field);
            analyzer_.words(text, [&](const Word& word) {
                const size_t size = std::min(word.term.size(), kMaxTerm);
                std::memcpy(&key[begin], word.term.data(), size);
                key[begin + size] = '\0';
                last = position + word.position;
                sink.word(field, Slice(key.data(), begin + size + 1), last);
            });
        }
        return last;
    }

    template <typename Sink>
    void values(const FieldDefinition& field, const ItemList& items, bool first, Sink& sink) {
        if constexpr (TakesValues<Sink>) {
            for (const Slice item : items) {
                if (!item.empty() && isCanonical(field.type, item)) {
                    startKey(field.number);
                    appendValueKey(field.type, item, key_);
                    sink.value(field.number, key_, first);
                }
                first = false;
            }
        }
    }

    template <typename Sink>
    void column(const FieldDefinition& field, Slice item, Sink& sink) {
        if constexpr (TakesColumns<Sink>) {
            if (hasColumn(field.type) && isCanonical(field.type, item))
                sink.column(field.number, columnValue(field.type, item));
        }
    }

    Analyzer analyzer_;
    std::string key_;
};

}  // namespace wdb
