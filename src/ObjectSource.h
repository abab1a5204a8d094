// Where the bytes of an object that is stored come from: a file that a statement or a host names, a host's
// open stream, memory.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "include/sqlengine.h"
#include "src/support/platform.h"

namespace wsql {

class WSQLStmtSetObject;

/// Read as often as records are written. What was taken over from the host is closed or released with it.
class ObjectSource {
public:
    ObjectSource() = default;
    ObjectSource(const ObjectSource&) = delete;
    ObjectSource& operator=(const ObjectSource&) = delete;

    /// The statement's own file or data. False when the file cannot be opened for reading.
    bool openStatement(const WSQLStmtSetObject& statement);
    /// What the host put into the record's output slot, as its option word says: value 2 an open stream
    /// (closed only with value 1), else value 1 the name of a file, else a block of memory, which leaves the
    /// slot and is released when value 4 says so. False when the stream or file cannot be read.
    bool openHost(FilterData& data);
    /// The file that could not be opened, "(null)" when there is no name.
    const std::string& fileName() const { return fileName_; }

    bool isFile() const { return stream_ != nullptr; }
    /// Of memory.
    std::string_view bytes() const { return bytes_; }

    /// Bytes of the source, those of a file as far as they have been read.
    std::int64_t size() const { return isFile() ? done_ : static_cast<std::int64_t>(bytes_.size()); }

    /// Starts at the first byte of the file again.
    void rewind();
    /// The next bytes of the file, at most size; 0 at its end, which is a failure when failed() says so.
    std::size_t read(char* target, std::size_t size);
    /// Whether reading ended before the end that the file had when it was opened.
    bool failed() const;
    /// The whole file; false when reading fails or yields less than its size.
    bool readAll(platform::HeapText& text, std::int64_t& size);

private:
    bool openFile(const char* name);
    bool readToEnd(platform::HeapText& text, std::int64_t& size);

    platform::FileStream owned_;
    std::FILE* stream_ = nullptr;
    std::int64_t expected_ = -1;  ///< size of a file opened here
    std::int64_t done_ = 0;       ///< bytes read since the latest start
    std::string_view bytes_;
    platform::HeapText memory_;
    std::string fileName_ = "(null)";
};

}  // namespace wsql
