#include "tests/unit/host/FakeKernel.h"

#include <cstring>

namespace host {
FakeKernel*& FakeKernel::current() {
    static FakeKernel* kernel = nullptr;
    return kernel;
}
}  // namespace host

using host::FakeKernel;

namespace {

char handleMemory[2];

FakeKernel& kernel() {
    return *FakeKernel::current();
}

std::string at(std::string_view data) {
    FakeKernel& k = kernel();
    return k.columns.at(static_cast<std::size_t>(k.field - 1)).name + "/" + std::to_string(k.item) + "=" +
           std::string(data);
}

}  // namespace

extern "C" {

std::int32_t WdbCreateRecordControl(WdbRecordControl** control) {
    ++kernel().controls;
    *control = reinterpret_cast<WdbRecordControl*>(&handleMemory[0]);
    return WDB_OK;
}
std::int32_t WdbDeleteRecordControl(WdbRecordControl** control) {
    if (*control != nullptr) --kernel().controls;
    *control = nullptr;
    return WDB_OK;
}
std::int32_t WdbSetBase(WdbRecordControl*, const char*, std::int32_t mode) {
    return kernel().answer("base " + std::to_string(mode));
}
std::int32_t WdbBaseInfo(const char*, std::int32_t item, void* info, std::int32_t*) {
    if (item != 4) return WDB_FAIL;
    const auto highest = static_cast<std::int32_t>(kernel().columns.size());
    std::memcpy(info, &highest, sizeof highest);
    return WDB_OK;
}
std::int32_t WdbCheckField(WdbRecordControl*, char* name, std::int32_t* number, std::int32_t* type,
                           std::uint32_t* flags) {
    const FakeKernel::FakeColumn& column = kernel().columns.at(static_cast<std::size_t>(*number - 1));
    std::strcpy(name, column.name.c_str());
    *type = column.type;
    *flags = 0;
    return WDB_OK;
}
std::int32_t WdbNewRecord(WdbRecordControl*) {
    kernel().parts = 0;
    return kernel().answer("new");
}
std::int32_t WdbSetCursor(WdbCursor** cursor, WdbRecordControl*, std::int32_t field, std::int32_t,
                          std::int32_t item) {
    if (*cursor == nullptr) ++kernel().cursors;
    *cursor = reinterpret_cast<WdbCursor*>(&handleMemory[1]);
    kernel().field = field;
    kernel().item = item;
    return WDB_OK;
}
std::int32_t WdbDeleteCursor(WdbCursor** cursor) {
    if (*cursor != nullptr) --kernel().cursors;
    *cursor = nullptr;
    return WDB_OK;
}
std::int32_t WdbReplaceItem(WdbCursor*, const char* data, std::int32_t length) {
    return kernel().answer(at({data, static_cast<std::size_t>(length)}));
}
std::int32_t WdbPutLine(WdbCursor*, const char* data, std::int32_t length) {
    return kernel().answer("text " + at({data, static_cast<std::size_t>(length)}));
}
std::int32_t WdbPutBlobBlock(WdbCursor*, std::int32_t length, const void* data) {
    return kernel().answer("bytes " + at({static_cast<const char*>(data), static_cast<std::size_t>(length)}));
}
std::int32_t WdbPutRecord(WdbRecordControl*, std::int32_t*) {
    return kernel().answer("put");
}
std::int32_t WdbBeginLoad(const char*, std::uint32_t) {
    return kernel().answer("begin");
}
std::int32_t WdbEndLoad(const char*, std::int32_t commit) {
    return kernel().answer("end " + std::to_string(commit));
}
std::int32_t WdbMessage(std::int32_t, char* text, std::int32_t* length) {
    std::strcpy(text, "no");
    *length = 2;
    return WDB_OK;
}

// Named by the catalogue, not used by a loader.
std::int32_t WdbLastError(std::int32_t*, std::int32_t*, char*, std::int32_t*) {
    return WDB_FAIL;
}
std::int32_t WdbSaveStatus(void) {
    return WDB_OK;
}
std::int32_t WdbLoadStatus(std::int32_t) {
    return WDB_OK;
}
std::int32_t WdbShowControl(std::int32_t, std::int32_t, const char*, const char*) {
    return WDB_FAIL;
}
std::int32_t WdbNextControl(WdbRecordControl**) {
    return WDB_FAIL;
}
std::int32_t WdbBaseStatus(const char*, char*, std::int32_t*, char*, std::int32_t*, std::int32_t*,
                           std::int32_t*) {
    return WDB_FAIL;
}
std::int32_t WdbGetItem(WdbCursor*, char*, std::int32_t*) {
    return WDB_FAIL;
}
std::int32_t WdbGetBaseDef(const char*, WdbBaseDef*) {
    return WDB_FAIL;
}
std::int32_t WdbGetFieldSpec(WdbFieldSpec*) {
    return WDB_FAIL;
}

std::int32_t WdbPartCount(WdbRecordControl*, std::int32_t* count) {
    *count = kernel().parts;
    return WDB_OK;
}
std::int32_t WdbAddRecordPart(WdbRecordControl*, std::int32_t* number) {
    *number = ++kernel().parts;
    return kernel().answer("part");
}
std::int32_t WdbSetRecordPart(WdbCursor*, WdbRecordControl*, std::int32_t part) {
    return kernel().answer("part " + std::to_string(part));
}

}  // extern "C"
