#include "host/Engine.h"

#include <sqlengine.h>
#include <cstring>

namespace host {

namespace {
constexpr std::uint32_t kAnswerInMemory = 36;  // an allocated answer, in memory
constexpr std::size_t kTypeLineRoom = 16;      // the engine may write "TEXT\nUTF-8" over the statement
}  // namespace

RawAnswer execute(std::string_view statement) {
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
    answer.status = execsql(&data, nullptr);
    answer.document.reset(data.output);
    answer.length =
        data.output != nullptr && data.outputLength > 0 ? static_cast<std::size_t>(data.outputLength) : 0;
    answer.message.assign(data.message, strnlen(data.message, sizeof data.message));
    return answer;
}

}  // namespace host
