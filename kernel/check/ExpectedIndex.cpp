#include "kernel/check/ExpectedIndex.h"

#include "kernel/index/IndexFormat.h"
#include "kernel/record/ValueKey.h"
#include "kernel/text/Analyzer.h"

namespace wdb {
namespace {

class Collector {
public:
    Collector(const FieldDefinition& field, ExpectedIndex& out) : field_(field), out_(out) {}

    void take(RecordNumber record, const RecordView& view) {
        uint64_t items = 0;
        bool any = false;
        for (PartNumber part = 0; part <= view.partCount(); ++part) {
            const ItemList list = view.items(part, field_.number);
            items += list.size();
            for (const Slice item : list) {
                if (item.empty()) continue;
                any = true;
                takeItem(record, item);
            }
        }
        if (any) out_.present.push_back(record);
        if (items > 1) out_.multi.push_back(record);
    }

private:
    void takeItem(RecordNumber record, Slice item) {
        if (field_.type == FieldType::Text) {
            analyzer_.words(
                item, [&](const Word& word) { note(record, Slice(word.term).substr(0, kMaxTerm), {}); });
        } else if (holdsItems(field_.type)) {
            key_.clear();
            appendValueKey(field_.type, item, key_);
            note(record, key_, item);
        }
    }

    void note(RecordNumber record, Slice term, Slice sample) {
        term_.assign(term);
        ExpectedTerm& expected = out_.terms[term_];
        if (expected.records.empty()) expected.sample = std::string(sample);
        if (expected.records.empty() || expected.records.back() != record) expected.records.push_back(record);
    }

    const FieldDefinition& field_;
    ExpectedIndex& out_;
    Analyzer analyzer_;
    std::string key_;
    std::string term_;
};

}  // namespace

Result<ExpectedIndex> ExpectedIndex::of(const BaseReader& reader, const FieldDefinition& field) {
    ExpectedIndex expected;
    Collector collector(field, expected);
    WDB_TRY(reader.forEachRecord(1, [&](RecordNumber record, Slice image) -> Status {
        const Result<RecordView> view = RecordView::validate(image);
        if (!view) return WDB_OK;  // reported where records are checked
        collector.take(record, *view);
        return WDB_OK;
    }));
    return expected;
}

}  // namespace wdb
