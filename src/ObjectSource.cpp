#include "src/ObjectSource.h"

#include <cstring>
#include <string>

#include "src/support/CStringBuffer.h"
#include "src/support/base64.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

constexpr std::uint32_t kFileName = 1;
constexpr std::uint32_t kOpenFile = 2;
constexpr std::uint32_t kRelease = 4;
constexpr std::size_t kLargest = std::size_t{64} << 20;  // bytes that a file without a size may have

}  // namespace

bool ObjectSource::openStatement(const WSQLStmtSetObject& statement) {
    if (statement.file) {
        CStringBuffer name(256);
        statement.file->toText(name);
        return openFile(name.text());
    }
    bytes_ = statement.data;
    if (statement.encoding.empty()) return true;
    const std::int32_t size = base64Decode(statement.data, memory_);
    bytes_ = std::string_view(memory_.get(), static_cast<std::size_t>(size));
    return true;
}

bool ObjectSource::openHost(FilterData& data) {
    if ((data.wdb_options & kOpenFile) != 0) {
        stream_ = reinterpret_cast<std::FILE*>(data.output);
        if ((data.wdb_options & kFileName) != 0) owned_.reset(stream_);
        return stream_ != nullptr;
    }
    if ((data.wdb_options & kFileName) != 0) return data.output != nullptr && openFile(data.output);
    char* memory = data.output;
    if (memory != nullptr && data.outputLength > 0)
        bytes_ = std::string_view(memory, static_cast<std::size_t>(data.outputLength));
    if ((data.wdb_options & kRelease) != 0) memory_.reset(memory);
    data.output = nullptr;
    data.outputLength = 0;
    return true;
}

bool ObjectSource::openFile(const char* name) {
    fileName_ = name;
    owned_ = platform::openRegularFile(name);
    stream_ = owned_.get();
    if (stream_ != nullptr) expected_ = platform::streamSize(stream_);
    return stream_ != nullptr;
}

void ObjectSource::rewind() {
    std::rewind(stream_);
    done_ = 0;
}

std::size_t ObjectSource::read(char* target, std::size_t size) {
    const std::size_t length = std::fread(target, 1, size, stream_);
    done_ += static_cast<std::int64_t>(length);
    return length;
}

bool ObjectSource::failed() const {
    return std::ferror(stream_) != 0 || done_ < expected_;
}

bool ObjectSource::readAll(platform::HeapText& text, std::int64_t& size) {
    size = platform::streamSize(stream_);
    if (size < 0) return false;
    done_ = 0;
    if (size == 0) return readToEnd(text, size);
    text.reset(static_cast<char*>(platform::heapAllocate(static_cast<std::size_t>(size) + 10)));
    return read(text.get(), static_cast<std::size_t>(size)) == static_cast<std::size_t>(size);
}

// Files of the system tell no size and hold bytes all the same; devices may hold them without an end.
bool ObjectSource::readToEnd(platform::HeapText& text, std::int64_t& size) {
    std::string bytes;
    char chunk[4096];
    for (std::size_t length = 0; (length = read(chunk, sizeof chunk)) > 0;) {
        if (bytes.size() + length > kLargest) return false;
        bytes.append(chunk, length);
    }
    text.reset(static_cast<char*>(platform::heapAllocate(bytes.size() + 1)));
    std::memcpy(text.get(), bytes.data(), bytes.size());
    size = done_;
    return std::ferror(stream_) == 0;
}

}  // namespace wsql
