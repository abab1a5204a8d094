#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/record/RecordImage.h"
#include "kernel/record/Schema.h"
#include "kernel/text/Analyzer.h"
#include "kernel/text/Pattern.h"

namespace wdb {

// Answers criteria by looking at a record, head and parts: what the indexes fall back to where keys are cut,
// and what they are tested against.
class RecordMatcher {
public:
    // TEXT: words that match the patterns stand next to each other in one paragraph.
    bool phrase(const RecordView& record, FieldNumber field, std::span<const Pattern> patterns);
    // TEXT: some word for which the test holds.
    bool anyWord(const RecordView& record, FieldNumber field, const std::function<bool(Slice)>& test);
    // Item types: some item whose whole key (wholeValueKey) passes the test.
    bool anyKey(const RecordView& record, const FieldDefinition& field,
                const std::function<bool(Slice)>& test);

    // The whole key of the field's first item, empty when that is empty or not there.
    static std::string firstKey(const RecordView& record, const FieldDefinition& field);

private:
    Analyzer analyzer_;
    std::vector<size_t> open_;  // lengths of the beginnings of the phrase that end at the present word
};

}  // namespace wdb
