#pragma once

#include "kernel/ccl/ReaderState.h"

namespace wdb::ccl {

// Reads what stands behind the comparison of a criterion, and fills its form and values.
//
// Behind a comparison the text is read in parts, quoted and bare ones, joined by one blank; a bare AND, OR,
// NOT or TO (in any of their spellings) ends the value unless it is its first part.
class ValueReader {
public:
    explicit ValueReader(ReaderState& state) : state_(state) {}

    bool readFieldValue(Criterion& criterion);
    bool readRecordValue(Criterion& criterion);

private:
    bool endsAt(size_t position) const;
    bool readEmptyOrAny(Criterion& criterion);
    bool endsBefore(const ValuePart& part) const;
    bool atEmptyOrWildcard() const;
    bool trySetValue(Criterion& criterion);
    bool readSetColumn(SetValue& value);
    bool readText(Value& value);
    bool acceptPartWord(Word word);
    bool readNumber(int64_t& number);

    ReaderState& state_;
};

// Adds one part's text to a value: $ and ! become wildcards, a backslash takes that meaning away. A quoted
// part's doubled quotes become single ones.
void appendPart(Value& value, std::string_view text, bool quoted);

}  // namespace wdb::ccl
