// Sets and rows.
#include <cstring>
#include <utility>

#include "include/wdb_bulk.h"
#include "kernel/api/ApiCall.h"
#include "kernel/text/Normalize.h"

namespace wdb::api {
namespace {

constexpr uint32_t kText = 1;         // item flags of a row: the item has a text,
constexpr uint32_t kZeroAfter = 128;  // a zero byte follows it

Status searchCounts(Session& session, SearchCounts& counts, Counted counted = Counted::All) {
    const Status status = session.search.currentResult(counts, counted);
    session.searched();
    return status;
}

// The row's texts in the session's character set.
void convertRow(Charset& charset, RowItems& row) {
    std::string converted;
    size_t at = 0;
    for (uint32_t item = 0; item < row.words[0]; ++item) {
        uint32_t& length = row.words[2 + 2 * item];
        const uint32_t flags = row.words[3 + 2 * item];
        const std::string text =
            (flags & kText) != 0 ? charset.fromUtf8(Slice(row.data).substr(at, length)) : std::string();
        at += length + ((flags & kZeroAfter) != 0 ? 1 : 0);
        length = static_cast<uint32_t>(text.size());
        converted.append(text);
        if ((flags & kZeroAfter) != 0) converted.push_back('\0');
    }
    converted.push_back('\0');
    row.data = std::move(converted);
}

Status getRow(Session& session, int32_t set, int32_t index, int32_t count, char** items,
              uint32_t** descriptor) {
    if (count != 1 || index < 0 || items == nullptr || descriptor == nullptr) return WDB_E_ARGUMENT;
    WDB_TRY(session.search.fetchRow(set, index, session.row));
    session.searched();
    if (!session.charset.passes()) convertRow(session.charset, session.row);
    const RowItems& row = session.row;
    void* data = session.rowBuffers.allocate(row.data.size());
    void* words = session.rowBuffers.allocate(row.words.size() * sizeof(uint32_t));
    if (data == nullptr || words == nullptr) {
        session.rowBuffers.release(data);
        return WDB_E_MEMORY;
    }
    std::memcpy(data, row.data.data(), row.data.size());
    std::memcpy(words, row.words.data(), row.words.size() * sizeof(uint32_t));
    *items = static_cast<char*>(data);
    *descriptor = static_cast<uint32_t*>(words);
    return WDB_OK;
}

Status getRowBlock(Session& session, int32_t set, int32_t index, int32_t& count, char** items,
                   uint32_t** descriptors) {
    if (count < 1 || index < 0 || items == nullptr || descriptors == nullptr) return WDB_E_ARGUMENT;
    if (session.hooks.any || !session.charset.passes()) return WDB_E_UNSUPPORTED;
    RowItems& rows = session.row;
    WDB_TRY(session.search.fetchRows(set, index, count, rows));
    session.searched();
    const size_t words = rows.words.size() * sizeof(uint32_t);
    auto* const block = static_cast<char*>(session.rowBuffers.allocate(words + rows.data.size()));
    if (block == nullptr) return WDB_E_MEMORY;
    std::memcpy(block, rows.words.data(), words);
    std::memcpy(block + words, rows.data.data(), rows.data.size());
    *descriptors = reinterpret_cast<uint32_t*>(block);
    *items = block + words;
    return WDB_OK;
}

bool holds(Charset& charset, const std::string& utf8, size_t bytes) {
    const std::string text = charset.fromUtf8(utf8);
    return text.size() <= bytes && charset.toUtf8(text) == utf8;
}

// The characters of the range as the mode makes them, where the set has the result in no more bytes.
std::string normalizeEach(Charset& charset, std::string_view utf8, int mode) {
    std::string out;
    for (size_t at = 0; at < utf8.size();) {
        size_t end = at + 1;
        while (end < utf8.size() && (static_cast<unsigned char>(utf8[end]) & 0xC0) == 0x80) ++end;
        const std::string one(utf8.substr(at, end - at));
        const std::string changed = normalize(one, mode);
        out += holds(charset, changed, charset.fromUtf8(one).size()) ? changed : one;
        at = end;
    }
    return out;
}

// As WdbStrNormalize in a character set that is not UTF-8.
std::string normalizeIn(Charset& charset, std::string_view text, int mode) {
    const std::string utf8 = charset.toUtf8(text);
    std::string whole = normalize(utf8, mode);
    if (holds(charset, whole, text.size())) return charset.fromUtf8(whole);
    // Characters that compose are taken one by one here, so they stay apart.
    const std::string each = normalizeEach(charset, utf8, mode & ~kFoldBlanks);
    return charset.fromUtf8(normalize(each, mode & kFoldBlanks));
}

Status strNormalize(Session* session, const char* text, char* buffer, int32_t mode) {
    if (text == nullptr || buffer == nullptr || mode < 1 || mode > 7) return WDB_E_ARGUMENT;
    const std::string_view input(text);
    std::string normalized;
    if (session == nullptr || session->charset.passes()) {
        normalizeTo(input, mode, normalized);
    } else {
        normalized = normalizeIn(session->charset, input, mode);
        if (normalized.size() > input.size()) normalized = input;
    }
    const size_t size = input.size();
    std::memcpy(buffer, normalized.data(), normalized.size());
    std::memset(buffer + normalized.size(), 0, size + 1 - normalized.size());
    return WDB_OK;
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbSearchResult(int32_t* setNumber, int32_t* hitCount, int32_t* recordCount, int32_t* partCount,
                        int32_t* kind) {
    SearchCounts counts;
    const Counted counted = recordCount == nullptr && partCount == nullptr ? Counted::Rows : Counted::All;
    const Status status =
        call(__func__, [&](Session& session) { return searchCounts(session, counts, counted); });
    if (!ok(status)) counts = SearchCounts();
    putNumber(setNumber, counts.set);
    putNumber(hitCount, counts.rows);
    putNumber(recordCount, counts.records);
    putNumber(partCount, counts.parts);
    putNumber(kind, counts.kind);
    return status;
}

int32_t WdbGetSearch(int32_t* searchNumber, int32_t* recordCount, int32_t* partCount) {
    SearchCounts counts;
    const Status status = call(__func__, [&](Session& session) { return searchCounts(session, counts); });
    if (!ok(status)) counts = SearchCounts();
    putNumber(searchNumber, counts.set);
    putNumber(recordCount, counts.records);
    putNumber(partCount, counts.parts);
    return status;
}

int32_t WdbGetRows(int32_t setNumber, int32_t rowIndex, int32_t rowCount, char** items,
                   uint32_t** itemCount) {
    if (items != nullptr) *items = nullptr;
    if (itemCount != nullptr) *itemCount = nullptr;
    return call(__func__, [&](Session& session) {
        return getRow(session, setNumber, rowIndex, rowCount, items, itemCount);
    });
}

int32_t WdbGetRowBlock(int32_t setNumber, int32_t rowIndex, int32_t* rowCount, char** items,
                       uint32_t** descriptors) {
    if (items != nullptr) *items = nullptr;
    if (descriptors != nullptr) *descriptors = nullptr;
    if (rowCount == nullptr) return WDB_E_ARGUMENT;
    int32_t count = std::exchange(*rowCount, 0);
    const Status status = call(__func__, [&](Session& session) {
        return getRowBlock(session, setNumber, rowIndex, count, items, descriptors);
    });
    if (ok(status)) *rowCount = count;
    return status;
}

int32_t WdbDeallocate(void* memory) {
    return callWithout(__func__, [&](Session*) -> Status {
        return memory == nullptr || session_registry::deallocate(memory) ? WDB_OK : WDB_E_HANDLE;
    });
}

int32_t WdbStrNormalize(const char* text, char* buffer, int32_t mode) {
    return callWithout(__func__, [&](Session* session) { return strNormalize(session, text, buffer, mode); });
}
