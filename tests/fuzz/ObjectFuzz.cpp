// Any bytes as a fetch key, and any bytes as an object, above the real kernel with one small table. The first
// byte chooses: a key for sqlgetobject or for GET OBJECT, an object that is stored and must come back, or
// what SET OBJECT gets as its data.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>

#include "include/sqlengine.h"
#include "include/wdb.h"

namespace {

void expect(bool holds) {
    if (!holds) __builtin_trap();
}

struct Reply {
    std::int32_t status;
    bool answered;
    std::string output;
};

using Export = std::int32_t (*)(FilterData*, void*);

Reply call(Export function, std::string_view text, std::uint32_t options, std::string_view object = {}) {
    std::string request(text);
    std::string bytes(object);
    FilterData data{};
    data.text = request.data();
    data.textLength = static_cast<std::int32_t>(request.size());
    data.wdb_options = options;
    char* own = function == sqlsetobject ? bytes.data() : nullptr;
    data.output = own;
    data.outputLength = own != nullptr ? static_cast<std::int32_t>(bytes.size()) : 0;
    Reply reply{function(&data, nullptr), data.output != nullptr && data.output != own, {}};
    expect(reply.status == data.status);
    if (reply.answered) {
        reply.output.assign(data.output, static_cast<std::size_t>(data.outputLength));
        expect(data.output[data.outputLength] == '\0');
        std::free(data.output);
    }
    return reply;
}

// One table O with record 1, for the life of the process.
class Home {
public:
    Home() {
        const bool memory = std::filesystem::exists("/dev/shm");
        std::string pattern = std::string(memory ? "/dev/shm" : "/tmp") + "/welk_fuzz_XXXXXX";
        directory_ = mkdtemp(pattern.data());
        expect(WdbOpenSession(directory_.c_str(), "fuzzer", nullptr, WDB_OPEN_CREATE, &session_) == WDB_OK);
        expect(WdbBindSession(session_) == WDB_OK);
        expect(call(execsql, "CREATE TABLE O (N INTEGER, T LONG VARCHAR, B LONG VARBINARY)", 36).status == 1);
        expect(call(execsql, "INSERT INTO O (N) VALUES (1)", 36).status == 1);
    }
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;
    ~Home() {
        WdbCloseSession(&session_);
        std::error_code ignored;
        std::filesystem::remove_all(directory_, ignored);
    }

private:
    std::string directory_;
    WdbSession* session_ = nullptr;
};

// A text as it is stored: lines end at LF, a CR before it belongs to the end, a line end at the very end adds
// no line. A line end alone is the empty text.
std::string linesOf(std::string_view text) {
    std::string lines;
    if (text == "\n" || text == "\r\n") return lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        if (end != std::string_view::npos && line.ends_with('\r')) line.remove_suffix(1);
        // A piece that fills the buffer goes on with the next line.
        const bool fills = !line.empty() && line.size() % 8191 == 0;
        lines.append(line).append(fills ? "" : "\r\n");
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}

void fetch(std::string_view key, bool asStatement, std::uint32_t options) {
    const std::string request =
        asStatement ? "GET OBJECT = '" + std::string(key) + "'" : "FETCHKEY=" + std::string(key) + "\n";
    const Reply reply = call(asStatement ? execsql : sqlgetobject, request, options);
    expect(reply.answered);
    if (reply.status != 1) expect(reply.output.find("<Fault faultCode=\"") != std::string::npos);
}

void storeAndFetch(bool text, std::string_view object) {
    const std::string column = text ? "T" : "B";
    const Reply stored = call(sqlsetobject, "TABLE=O\nCOLUMNNAME=" + column + "\nRID=1\n", 0, object);
    const bool refused = text && object.find('\0') != std::string_view::npos;
    expect(stored.status == (refused ? WDB_E_VALUE : 1));
    if (refused) return;
    const Reply fetched = call(sqlgetobject, text ? "FETCHKEY=4f-1-0-2\n" : "FETCHKEY=4F-1-0-3\n", 5);
    expect(fetched.status == 1 && fetched.answered);
    expect(fetched.output == (text ? linesOf(object) : std::string(object)));
}

// What is no file's name: that would read files of the machine.
void setByStatement(bool text, std::string_view data) {
    const std::string head = std::string("UPDATE O SET OBJECT (") + (text ? "T" : "B") + ", '";
    if (data.starts_with("file=")) return;
    const Reply stored = call(execsql, head + std::string(data) + "') WHERE N = 1", 36);
    expect(stored.answered);
    if (stored.status != 1) return expect(stored.output.find("<Fault faultCode=\"") != std::string::npos);
    const Reply fetched = call(sqlgetobject, text ? "FETCHKEY=4f-1-0-2\n" : "FETCHKEY=4F-1-0-3\n", 37);
    expect(fetched.status == 1 && fetched.answered);
    const bool plain = data.starts_with("data=") && data.find_first_of("\\'") == std::string_view::npos &&
                       data.find('\0') == std::string_view::npos;
    if (plain) expect(fetched.output == (text ? linesOf(data.substr(5)) : std::string(data.substr(5))));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    static const Home home;
    if (size < 1) return 0;
    const std::string_view rest(reinterpret_cast<const char*>(bytes) + 1, size - 1);
    switch (bytes[0] % 6) {
        case 0:
        case 1:
            fetch(rest, bytes[0] % 6 == 1, bytes[0] >= 128 ? 37 : 36);
            break;
        case 2:
        case 3:
            storeAndFetch(bytes[0] % 6 == 2, rest);
            break;
        default:
            setByStatement(bytes[0] % 6 == 4, rest);
    }
    WdbLiveCounts live{};
    expect(WdbLiveHandles(&live) == WDB_OK);
    expect(live.controls == 0 && live.cursors == 0 && live.savedStatuses == 0 && live.sets == 0);
    return 0;
}
