#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bench/compare/Package.h"

namespace compare {

// Something that is written to. What a call did is on the disk when it returns, and the next search finds it.
// Faults end the program with a message.
class Writer {
public:
    virtual ~Writer() = default;
    virtual const char* name() const = 0;
    // All packages at once, into an empty store.
    virtual void load(const std::vector<Package>& packages) = 0;
    virtual void insert(const Package& package) = 0;
    // Records with the word in their description.
    virtual long long found(const std::string& word) = 0;
    // Changes the records whose size lies in the range and answers how many there were.
    virtual long long setVersion(long long low, long long high, const std::string& version) = 0;
    virtual long long setDescription(long long low, long long high, const std::string& description) = 0;
    virtual long long erase(long long low, long long high) = 0;
    // Bytes on the disk, with everything closed; nothing may follow.
    virtual long long close() = 0;
};

// Each in a folder of its own, which is made anew.
std::unique_ptr<Writer> writeOwn(const std::string& folder);
std::unique_ptr<Writer> writeSqlite(const std::string& folder);

// Bytes that the files below a folder take.
long long bytesOf(const std::string& folder);

[[noreturn]] void die(const std::string& what);

}  // namespace compare
