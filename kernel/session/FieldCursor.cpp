#include "kernel/session/FieldCursor.h"

#include <algorithm>

#include "kernel/record/TextLines.h"

namespace wdb {

namespace {

std::string& textOf(CurrentRecord& record, const FieldCursor& cursor) {
    FieldValues& values = record.change(cursor.part, cursor.field);
    if (values.items.size() != 1) values.items.resize(1);
    return values.items.front();
}

}  // namespace

void setItem(CurrentRecord& record, const FieldCursor& cursor, std::string canonical) {
    FieldValues& values = record.change(cursor.part, cursor.field);
    if (cursor.item == 0) {
        values.items.clear();
        values.items.push_back(std::move(canonical));
        return;
    }
    if (values.items.size() < cursor.item) values.items.resize(cursor.item);
    values.items[cursor.item - 1] = std::move(canonical);
}

Status insertItem(CurrentRecord& record, FieldCursor& cursor, std::string canonical) {
    FieldValues& values = record.change(cursor.part, cursor.field);
    const size_t before = std::max<uint32_t>(cursor.item, 1) - 1;
    if (std::max(values.items.size(), before) >= kMaxPosition) return WDB_E_VALUE;
    if (values.items.size() < before) values.items.resize(before);
    values.items.insert(values.items.begin() + static_cast<ptrdiff_t>(before), std::move(canonical));
    cursor.item = static_cast<uint32_t>(before) + 2;
    return WDB_OK;
}

Status insertText(CurrentRecord& record, FieldCursor& cursor, std::string_view data) {
    if (data.find('\0') != std::string_view::npos) return WDB_E_VALUE;
    const uint32_t before = std::max<uint32_t>(cursor.paragraph, 1);
    const uint32_t count = insertParagraphs(textOf(record, cursor), before, linesFromData(data));
    cursor.paragraph = before + count;
    cursor.started = cursor.ended = cursor.written = false;
    return WDB_OK;
}

void clearPosition(CurrentRecord& record, const FieldCursor& cursor, const FieldDefinition& field) {
    FieldValues& values = record.change(cursor.part, cursor.field);
    if (field.type == FieldType::String) {
        record.dropObject(cursor.part, cursor.field);
        values.items.clear();
    } else if (field.type == FieldType::Text && cursor.paragraph > 0) {
        replaceParagraph(textOf(record, cursor), cursor.paragraph, {});
    } else if (cursor.item > 0) {
        if (cursor.item <= values.items.size()) values.items[cursor.item - 1].clear();
    } else {
        values.items.clear();
    }
}

Status replaceText(CurrentRecord& record, const FieldCursor& cursor, std::string_view data) {
    if (data.find('\0') != std::string_view::npos) return WDB_E_VALUE;
    std::string lines = linesFromData(data);
    if (cursor.paragraph > 0)
        replaceParagraph(textOf(record, cursor), cursor.paragraph, lines);
    else
        textOf(record, cursor) = std::move(lines);
    return WDB_OK;
}

Status putLines(CurrentRecord& record, FieldCursor& cursor, std::string_view data) {
    if (data.find('\0') != std::string_view::npos) return WDB_E_VALUE;
    if (cursor.written)
        appendLines(textOf(record, cursor), cursor.paragraph, linesFromData(data));
    else
        WDB_TRY(replaceText(record, cursor, data));
    cursor.written = true;
    return WDB_OK;
}

bool currentLine(std::string_view text, FieldCursor& cursor, std::string_view& line) {
    if (!cursor.started) {
        const LineRange range = paragraphLines(text, cursor.paragraph);
        cursor.started = true;
        cursor.ended = range.none;
        cursor.offset = range.begin;
    }
    if (cursor.ended || cursor.offset > text.size()) return false;
    if (cursor.inLine == 0 || cursor.textSize != text.size()) {
        cursor.lineEnd = std::min(text.find('\n', cursor.offset), text.size());
        cursor.textSize = text.size();
        cursor.converted.reset();
    }
    line = text.substr(cursor.offset, cursor.lineEnd - cursor.offset);
    if (cursor.paragraph > 0 && line.empty()) return false;
    return true;
}

void nextLine(std::string_view text, FieldCursor& cursor, std::string_view line) {
    const size_t end = cursor.offset + line.size();
    cursor.inLine = 0;
    cursor.converted.reset();
    cursor.offset = end + 1;
    cursor.ended = end >= text.size();
}

}  // namespace wdb
