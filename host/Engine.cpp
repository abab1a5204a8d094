#include "host/Engine.h"

#include <sqlengine.h>
#include <cstring>
#include <new>

#include "host/format/StepTree.h"
#include "wdb.h"

namespace host {

namespace {
constexpr std::uint32_t kAnswerInMemory = 36;  // an allocated answer, in memory
constexpr std::size_t kTypeLineRoom = 16;      // the engine may write "TEXT\nUTF-8" over the statement

// Listens to the kernel's steps while it lives.
class Listener {
public:
    explicit Listener(StepTree* steps)
        : listening_(steps != nullptr && WDB_SUCCESS(WdbSetProfile(add, steps))) {}
    ~Listener() {
        if (listening_) WdbSetProfile(nullptr, nullptr);
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

private:
    static void add(void* steps, std::int32_t depth, const char* step, std::int64_t count,
                    std::int64_t nanoseconds) {
        try {
            static_cast<StepTree*>(steps)->add(depth, step, count, nanoseconds);
        } catch (const std::bad_alloc&) {  // the kernel's frames below must not be unwound
        }
    }
    bool listening_;
};

}  // namespace

RawAnswer execute(std::string_view statement, StepTree* steps) {
    RawAnswer answer;
    if (statement.size() > INT32_MAX - kTypeLineRoom) {
        answer.message = "The statement is too long.";
        return answer;
    }
    std::string text(statement);
    text.resize(statement.size() + kTypeLineRoom, '\0');
    FilterData data{};
    std::memcpy(data.filterName, "execsql", sizeof "execsql");
    data.text = text.data();
    data.textLength = static_cast<std::int32_t>(text.size());
    data.wdb_options = kAnswerInMemory;
    const Listener listener(steps);
    answer.status = execsql(&data, nullptr);
    answer.document.reset(data.output);
    answer.length =
        data.output != nullptr && data.outputLength > 0 ? static_cast<std::size_t>(data.outputLength) : 0;
    answer.message.assign(data.message, strnlen(data.message, sizeof data.message));
    return answer;
}

}  // namespace host
