// Texts line by line, large objects block by block.
#include <algorithm>
#include <cstring>

#include "kernel/api/ApiCall.h"
#include "kernel/api/FieldAccess.h"
#include "kernel/record/TextLines.h"
#include "kernel/record/Value.h"

namespace wdb::api {
namespace {

Status findText(Session& session, WdbCursor* handle, Place& place, Slice& text) {
    WDB_TRY(findPlace(session, handle, place));
    if (place.field->type != FieldType::Text) return WDB_E_TYPE;
    text = place.record().value(place.cursor->part, place.field->number);
    return WDB_OK;
}

Status paraCount(Session& session, WdbCursor* handle, int32_t* count) {
    Place place;
    Slice text;
    WDB_TRY(findText(session, handle, place, text));
    putNumber(count, paragraphCount(text));
    return WDB_OK;
}

Status getLine(Session& session, WdbCursor* handle, char* buffer, int32_t* length) {
    Place place;
    Slice text, stored;
    WDB_TRY(findText(session, handle, place, text));
    if (!canPut(buffer, length)) return WDB_E_ARGUMENT;
    FieldCursor& cursor = *place.cursor;
    if (!currentLine(text, cursor, stored)) return WDB_FAIL;
    if (!session.charset.passes() && !cursor.converted) cursor.converted = session.charset.fromUtf8(stored);
    const Slice line = session.charset.passes() ? stored : Slice(*cursor.converted);
    const Slice rest = line.substr(std::min(cursor.inLine, line.size()));
    const size_t piece = std::min(rest.size(), static_cast<size_t>(*length) - 1);
    if (piece == 0 && !rest.empty()) return WDB_E_BUFFER;  // no room for any byte: it would never end
    WDB_TRY(putRaw(rest.substr(0, piece), buffer, length));
    if (piece == rest.size())
        nextLine(text, cursor, stored);
    else
        cursor.inLine += piece;
    return WDB_OK;
}

Status putLine(Session& session, WdbCursor* handle, const char* bytes, int32_t length) {
    Place place;
    WDB_TRY(findWritablePlace(session, handle, place));
    if (place.field->type != FieldType::Text) return WDB_E_TYPE;
    const auto data = dataOf(bytes, length);
    if (!data) return data.status();
    return putLines(place.record(), *place.cursor, InText(session, *data));
}

// The stored object at a place; WDB_FAIL when there is none.
Result<ObjectReference> storedObject(const Place& place) {
    const Slice bytes = place.record().value(place.cursor->part, place.field->number);
    if (bytes.empty()) return WDB_FAIL;
    return ObjectReference::decode(bytes);
}

Status findObject(Session& session, WdbCursor* handle, Place& place) {
    WDB_TRY(findPlace(session, handle, place));
    return place.field->type == FieldType::String ? WDB_OK : WDB_E_TYPE;
}

Status blobSize(Session& session, WdbCursor* handle, int32_t* size) {
    Place place;
    WDB_TRY(findObject(session, handle, place));
    if (const ObjectSpool* pending = place.record().pendingObject(place.cursor->part, place.field->number)) {
        putNumber(size, pending->size());
        return WDB_OK;
    }
    const auto stored = storedObject(place);
    if (!stored && stored.status() != WDB_FAIL) return stored.status();
    putNumber(size, stored ? stored->size : 0);
    return WDB_OK;
}

// Copies bytes of a stored object out of its chunks. WDB_E_CHANGED when they are gone: somebody stored
// another object.
Status readChunks(const BaseReader& reader, const ObjectReference& object, uint64_t offset, size_t size,
                  char* buffer) {
    while (size > 0) {
        const auto chunk = reader.objectChunk(object.id, static_cast<uint32_t>(offset / object.chunkSize));
        if (!chunk) return chunk.status() == WDB_FAIL ? WDB_E_CHANGED : chunk.status();
        const size_t skip = offset % object.chunkSize;
        if (chunk->size() <= skip) return WDB_E_CORRUPT;
        const size_t piece = std::min(size, chunk->size() - skip);
        std::memcpy(buffer, chunk->data() + skip, piece);
        buffer += piece;
        offset += piece;
        size -= piece;
    }
    return WDB_OK;
}

Status readStored(Session& session, const Place& place, const ObjectReference& object, uint64_t offset,
                  size_t size, char* buffer) {
    if (const UnitBase* load = session.writer.loadBase(*place.control->base)) {
        return readChunks(*load->writer, object, offset, size, buffer);
    }
    const auto state = session.snapshot(place.control->base);
    if (!state) return state.status();
    return readChunks((*state)->reader(), object, offset, size, buffer);
}

Status getBlock(Session& session, WdbCursor* handle, int32_t start, int32_t size, void* buffer,
                int32_t* sizeRead) {
    Place place;
    WDB_TRY(findObject(session, handle, place));
    if (start < 1 || size < 0 || (buffer == nullptr && size > 0)) return WDB_E_ARGUMENT;
    const uint64_t offset = static_cast<uint64_t>(start) - 1;
    const ObjectSpool* pending = place.record().pendingObject(place.cursor->part, place.field->number);
    const auto stored = pending == nullptr ? storedObject(place) : Result<ObjectReference>(WDB_FAIL);
    if (pending == nullptr && !stored && stored.status() != WDB_FAIL) return stored.status();
    const uint64_t total = pending != nullptr ? pending->size() : (stored ? stored->size : 0);
    if (offset >= total) {
        putNumber(sizeRead, 0);
        return WDB_FAIL;
    }
    const auto wanted = static_cast<size_t>(std::min<uint64_t>(static_cast<uint64_t>(size), total - offset));
    if (wanted == 0) {
        putNumber(sizeRead, 0);
        return WDB_OK;
    }
    if (pending != nullptr) {
        const auto read = pending->read(offset, static_cast<char*>(buffer), wanted);
        if (!read) return read.status();
    } else {
        WDB_TRY(readStored(session, place, *stored, offset, wanted, static_cast<char*>(buffer)));
    }
    putNumber(sizeRead, static_cast<int64_t>(wanted));
    return WDB_OK;
}

// The object that blocks are appended to: the one being written, one that was stored since the last block, or
// with the first block through a cursor a new one.
Status objectToExtend(Session& session, const Place& place, ObjectSpool*& object) {
    CurrentRecord& record = place.record();
    const auto [part, field] = std::pair(place.cursor->part, place.field->number);
    object = place.cursor->written ? record.pendingObject(part, field) : nullptr;
    if (object != nullptr) return WDB_OK;
    const auto stored = place.cursor->written ? storedObject(place) : Result<ObjectReference>(WDB_FAIL);
    if (!stored && stored.status() != WDB_FAIL) return stored.status();
    ObjectSpool begun;
    std::string bytes;
    for (uint64_t at = 0; stored && at < stored->size; at += bytes.size()) {
        bytes.resize(std::min<uint64_t>(stored->chunkSize, stored->size - at));
        WDB_TRY(readStored(session, place, *stored, at, bytes.size(), bytes.data()));
        WDB_TRY(begun.append(bytes));
    }
    object = &record.startObject(part, field);
    *object = std::move(begun);
    return WDB_OK;
}

Status putBlock(Session& session, WdbCursor* handle, int32_t length, const void* data) {
    Place place;
    WDB_TRY(findWritablePlace(session, handle, place));
    if (place.field->type != FieldType::String) return WDB_E_TYPE;
    if (length < 0 || (data == nullptr && length > 0)) return WDB_E_ARGUMENT;
    ObjectSpool* object = nullptr;
    WDB_TRY(objectToExtend(session, place, object));
    place.cursor->written = true;
    return object->append(Slice(static_cast<const char*>(data), static_cast<size_t>(length)));
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbParaCount(WdbCursor* cursor, int32_t* count) {
    return call(__func__, [&](Session& session) { return paraCount(session, cursor, count); });
}

int32_t WdbGetLine(WdbCursor* cursor, char* line, int32_t* length) {
    return call(__func__, [&](Session& session) { return getLine(session, cursor, line, length); });
}

int32_t WdbPutLine(WdbCursor* cursor, const char* data, int32_t length) {
    return call(__func__, [&](Session& session) { return putLine(session, cursor, data, length); });
}

int32_t WdbGetBlobSize(WdbCursor* cursor, int32_t* size) {
    return call(__func__, [&](Session& session) { return blobSize(session, cursor, size); });
}

int32_t WdbGetBlobBlock(WdbCursor* cursor, int32_t start, int32_t size, void* buffer, int32_t* sizeRead) {
    return call(__func__,
                [&](Session& session) { return getBlock(session, cursor, start, size, buffer, sizeRead); });
}

int32_t WdbPutBlobBlock(WdbCursor* cursor, int32_t length, const void* data) {
    return call(__func__, [&](Session& session) { return putBlock(session, cursor, length, data); });
}
