#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace wdb {

// Gives byte strings small numbers: an open-addressing table over an arena. Numbers count from 0 in the order
// of arrival; the bytes stay where they are as long as the table lives.
class TermTable {
public:
    static constexpr uint32_t kNone = UINT32_MAX;

    TermTable();
    TermTable(TermTable&&) noexcept = default;
    TermTable& operator=(TermTable&&) noexcept = default;

    // The number of a string, given when it is new.
    uint32_t intern(std::string_view term);
    // kNone when it is not there.
    uint32_t find(std::string_view term) const;
    std::string_view term(uint32_t number) const { return terms_[number]; }
    uint32_t size() const { return static_cast<uint32_t>(terms_.size()); }
    size_t bytes() const;  // memory
    // All numbers, by their strings' byte order.
    std::vector<uint32_t> sorted() const;
    void clear();

private:
    std::string_view keep(std::string_view term);
    void grow();

    std::vector<uint64_t> slots_;  // high half: of the hash; low half: number + 1; 0 free
    std::vector<std::string_view> terms_;
    std::vector<std::unique_ptr<char[]>> blocks_;
    char* free_ = nullptr;
    size_t left_ = 0;
    size_t arena_ = 0;
};

}  // namespace wdb
