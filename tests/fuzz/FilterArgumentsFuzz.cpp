// Any bytes as the arguments of the exports that take arguments, above a kernel of a few tables. The first
// three bytes choose the export, the option mask and how much of the text the record admits to; the rest is
// the request.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "include/sqlengine.h"
#include "tests/unit/frame/FakeKernel.h"

namespace {

using Export = std::int32_t (*)(FilterData*, void*);

void expect(bool holds) {
    if (!holds) __builtin_trap();
}

bool sameName(std::string_view name, std::string_view wanted) {
    if (name.size() != wanted.size()) return false;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const char c = name[i];
        if ((c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c) != wanted[i]) return false;
    }
    return true;
}

// The law of arguments once more, in its plainest form.
bool holdsArgument(std::string_view request, std::string_view wanted) {
    std::string_view rest = request.substr(0, request.find('\0'));
    for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
        const std::size_t split = rest.substr(0, end).find('=');
        if (split != std::string_view::npos && sameName(rest.substr(0, split), wanted)) return true;
        rest.remove_prefix(end + 1);
    }
    return false;
}

void prepareKernel(std::uint8_t choice) {
    constexpr std::int32_t kCharsets[] = {16, 1, 3, 18};
    FakeKernel& kernel = fakeKernel();
    kernel = FakeKernel();
    kernel.charset = kCharsets[choice % 4];
    kernel.tables["ART"] = {{"TEXT", 1, WDB_T_TEXT, 0},
                            {"IMAGE", 2, WDB_T_STRING, 0},
                            {"QTY", 3, WDB_T_INTEGER, 0},
                            {"PARTTEXT", 4, WDB_T_TEXT, WDB_F_PART}};
    kernel.messages[WDB_E_FIELD] = "no such field";
}

void checkRecord(const FilterData& data, const FilterData& before) {
    expect(std::memcmp(data.host, before.host, sizeof data.host) == 0);
    expect(data.text == before.text && data.textLength <= before.textLength);
    expect(std::memchr(data.message, '\0', sizeof data.message) != nullptr);
    if (data.output == nullptr) {
        expect(data.status % 2 == 0 && data.outputLength == 0);
        return;
    }
    const std::string_view document(data.output, static_cast<std::size_t>(data.outputLength));
    expect(document.data()[document.size()] == '\0');
    if (data.status % 2 == 0) expect(document.find("<Fault faultCode=\"") != std::string_view::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    constexpr Export kExports[] = {sqlgetobject, sqlsetobject, sqlgettabledesc, sqlgetencoding};
    if (size < 3) return 0;
    const Export function = kExports[bytes[0] % 4];
    prepareKernel(bytes[2]);
    const std::size_t length = size - 3;
    char* memory =
        static_cast<char*>(std::malloc(length > 0 ? length : 1));  // a byte beyond it is one too many
    if (length > 0) std::memcpy(memory, bytes + 3, length);
    const std::string request(memory, length);

    FilterData data{};
    std::memset(data.host, 0x5A, sizeof data.host);
    std::memset(data.message, 'm', sizeof data.message);
    data.text = memory;
    data.textLength = static_cast<std::int32_t>(length) - (bytes[2] >= 128 ? bytes[2] - 128 : 0);
    data.wdb_options = bytes[1];
    const FilterData before = data;

    expect(function(&data, nullptr) == data.status);
    const bool invoked = data.status != SQLENGINE_BAD_INVOCATION && function != sqlgetencoding;
    if (!invoked) std::memset(data.message, 0, sizeof data.message);  // not every refusal writes one
    checkRecord(data, before);
    if (function == sqlgetobject && invoked) {
        const auto admitted = static_cast<std::size_t>(before.textLength > 0 ? before.textLength : 0);
        const bool missing = std::strcmp(data.message, "Missing filter argument: \"FETCHKEY\".") == 0;
        expect(missing != holdsArgument(std::string_view(request).substr(0, admitted), "FETCHKEY"));
    }
    expect(fakeKernel().saves == fakeKernel().loads);
    std::free(data.output);
    std::free(memory);
    return 0;
}
