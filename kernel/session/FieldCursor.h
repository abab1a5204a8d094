#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "kernel/common/Status.h"
#include "kernel/record/Schema.h"
#include "kernel/session/RecordControl.h"

namespace wdb {

// What a WdbCursor stands for: a place in the record of a control. The field is looked up by number at each
// use, since the definition may be replaced meanwhile.
struct FieldCursor {
    uint64_t control = 0;  // handle
    FieldNumber field = 0;
    PartNumber part = 0;     // where the field's values are, by the control's part when the cursor was placed
    uint32_t paragraph = 0;  // from 1 for TEXT; 0: the whole field
    uint32_t item = 0;       // from 1 for the other types; 0: the whole field
    // The running position, valid for one record only.
    uint64_t epoch = 0;
    size_t offset = 0;  // next byte of the text, as stored, at the start of a line
    size_t inLine = 0;  // bytes of that line delivered already, as delivered
    // While a line is delivered in several pieces, so that none looks for its end again: where it ends in the
    // text, of how many bytes the text is, and the line in the session's character set.
    size_t lineEnd = 0;
    size_t textSize = 0;
    std::optional<std::string> converted;
    bool started = false;
    bool ended = false;
    bool written = false;  // a value was written through it: the next line or block is appended

    void reset() { *this = FieldCursor(); }
    // Goes to the same field and position of another part.
    void moveTo(PartNumber other) {
        part = other;
        offset = inLine = 0;
        started = ended = written = false;
    }
    // Forgets the running position when the control has another record than before.
    void follow(const CurrentRecord& record) {
        if (epoch == record.epoch()) return;
        epoch = record.epoch();
        offset = inLine = 0;
        started = ended = written = false;
    }
};

// Positions of items and paragraphs that can be written.
inline constexpr int32_t kMaxPosition = 65535;

// Writing at a position of a field of items: 0 replaces all items by one, beyond the last item empty ones
// fill the gap.
void setItem(CurrentRecord& record, const FieldCursor& cursor, std::string canonical);
// The same before the cursor's item or paragraph, which moves up with the cursor; position 0 is the first
// one. WDB_E_VALUE when positions are used up, or for a NUL byte.
Status insertItem(CurrentRecord& record, FieldCursor& cursor, std::string canonical);
Status insertText(CurrentRecord& record, FieldCursor& cursor, std::string_view data);
// Empties a position; 0 the whole field, of any type.
void clearPosition(CurrentRecord& record, const FieldCursor& cursor, const FieldDefinition& field);
// Puts data (UTF-8) in place of a text or of one of its paragraphs. WDB_E_VALUE for a NUL byte.
Status replaceText(CurrentRecord& record, const FieldCursor& cursor, std::string_view data);
// The first call through a cursor replaces, further ones append lines.
Status putLines(CurrentRecord& record, FieldCursor& cursor, std::string_view data);

// The line at the running position (of the paragraph, when the cursor has one) as stored, without its line
// end; false at the end. Whoever delivers only a part of it adds to inLine; the line is not looked for again
// then unless the text has another length. nextLine() moves on to the one behind it.
bool currentLine(std::string_view text, FieldCursor& cursor, std::string_view& line);
void nextLine(std::string_view text, FieldCursor& cursor, std::string_view line);

}  // namespace wdb
