#include "src/support/CStringBuffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "src/support/platform.h"

namespace wsql {

namespace {
// From here on storage grows by half of itself at least.
constexpr std::size_t kLongText = 65536;

std::size_t measured(const char* text, std::int32_t length) {
    if (text == nullptr) return 0;
    return length < 0 ? std::strlen(text) : static_cast<std::size_t>(length);
}
}  // namespace

CStringBuffer::CStringBuffer() {
    allocate(block_, static_cast<std::size_t>(block_));
}

CStringBuffer::CStringBuffer(std::int32_t block) : block_(std::max(block, 1)) {}

CStringBuffer::CStringBuffer(const char* text) {
    set(text);
}

CStringBuffer::CStringBuffer(const CStringBuffer& other) {
    set(other.view());
}

CStringBuffer::CStringBuffer(CStringBuffer&& other) noexcept {
    adopt(other);
}

CStringBuffer& CStringBuffer::operator=(const CStringBuffer& other) {
    if (this != &other) set(other.view());
    return *this;
}

CStringBuffer& CStringBuffer::operator=(CStringBuffer&& other) noexcept {
    if (this != &other) {
        free();
        adopt(other);
    }
    return *this;
}

CStringBuffer::~CStringBuffer() {
    free();
}

void CStringBuffer::free() noexcept {
    if (data_ != nullptr) platform::heapFree(data_);
    if (edit_ != nullptr) platform::heapFree(edit_);
    data_ = end_ = edit_ = nullptr;
    capacity_ = length_ = editSize_ = 0;
    storage_ = 0;
}

void CStringBuffer::adopt(CStringBuffer& other) noexcept {
    data_ = std::exchange(other.data_, nullptr);
    capacity_ = std::exchange(other.capacity_, 0);
    length_ = std::exchange(other.length_, 0);
    end_ = std::exchange(other.end_, nullptr);
    block_ = other.block_;
    edit_ = std::exchange(other.edit_, nullptr);
    editSize_ = std::exchange(other.editSize_, 0);
    storage_ = std::exchange(other.storage_, 0);
}

void CStringBuffer::allocate(std::int32_t capacity, std::size_t storage) {
    if (storage > storage_) {
        if (storage > kLongText) storage = std::max(storage, storage_ + storage_ / 2);
        // Not cleared, unlike other memory of the heap: nobody reads behind the text.
        char* grown = static_cast<char*>(std::realloc(data_, storage));
        if (grown == nullptr) throw std::bad_alloc();
        data_ = grown;
        storage_ = storage;
    }
    capacity_ = capacity;
    end_ = data_ + length_;
    *end_ = '\0';
}

// Capacity for a text of that length: whole blocks, one more than it needs.
void CStringBuffer::grow(std::int64_t length) {
    const std::int64_t capacity = block_ * (length / block_ + 1);
    if (length >= INT32_MAX || capacity > INT32_MAX) throw std::length_error("text too long");
    allocate(static_cast<std::int32_t>(capacity), static_cast<std::size_t>(capacity) + 1);
}

void CStringBuffer::set(const char* text, std::int32_t length) {
    set(std::string_view(text, measured(text, length)));
}

void CStringBuffer::set(std::string_view text) {
    const std::less<const char*> before;
    const bool own = data_ != nullptr && !before(text.data(), data_) && before(text.data(), data_ + storage_);
    if (own) {  // a part of this text, never longer than it
        std::memmove(data_, text.data(), text.size());
    } else {
        if (text.size() >= static_cast<std::size_t>(capacity_)) {
            if (text.size() >= INT32_MAX) throw std::length_error("text too long");
            grow(static_cast<std::int64_t>(text.size()));
        }
        if (!text.empty()) std::memcpy(data_, text.data(), text.size());
    }
    length_ = static_cast<std::int32_t>(text.size());
    end_ = data_ + length_;
    *end_ = '\0';
}

void CStringBuffer::append(const char* text, std::int32_t length) {
    append(std::string_view(text, measured(text, length)));
}

void CStringBuffer::append(std::string_view text) {
    // What fits is the rule by far. A part of this text does not overlap the room behind it.
    if (text.size() < static_cast<std::size_t>(capacity_ - length_)) [[likely]] {
        if (!text.empty()) std::memcpy(end_, text.data(), text.size());
        length_ += static_cast<std::int32_t>(text.size());
        end_ += text.size();
        *end_ = '\0';
        return;
    }
    if (data_ == nullptr || length_ == 0) {
        set(text);
        return;
    }
    const std::int64_t total = std::int64_t{length_} + static_cast<std::int64_t>(text.size());
    if (total >= INT32_MAX) throw std::length_error("text too long");
    const std::less<const char*> before;
    const bool own = !before(text.data(), data_) && before(text.data(), data_ + storage_);
    const std::ptrdiff_t offset = own ? text.data() - data_ : 0;
    if (total >= capacity_) {
        const std::int64_t capacity = block_ * ((total + 1) / block_ + 1);
        if (capacity > INT32_MAX) throw std::length_error("text too long");
        allocate(static_cast<std::int32_t>(capacity), static_cast<std::size_t>(capacity));
    }
    if (!text.empty()) std::memmove(end_, own ? data_ + offset : text.data(), text.size());
    length_ = static_cast<std::int32_t>(total);
    end_ = data_ + length_;
    *end_ = '\0';
}

void CStringBuffer::append(const CStringBuffer& other) {
    append(other.view());
}

char* CStringBuffer::room(std::size_t bytes) {
    if (bytes < static_cast<std::size_t>(capacity_ - length_)) [[likely]]
        return end_;
    if (bytes >= INT32_MAX) throw std::length_error("text too long");
    grow(std::int64_t{length_} + static_cast<std::int64_t>(bytes));
    return end_;
}

void CStringBuffer::wrote(const char* end) {
    length_ += static_cast<std::int32_t>(end - end_);
    end_ = data_ + length_;
    *end_ = '\0';
}

void CStringBuffer::insert(const CStringBuffer& other, std::int32_t position) {
    if (position < 0 || position >= length_) {
        append(other.view());
        return;
    }
    const std::string copy = &other == this ? std::string(view()) : std::string();
    const std::string_view added = &other == this ? std::string_view(copy) : other.view();
    const std::int32_t tail = length_ - position;
    append(added);  // makes the room; its bytes are overwritten by the tail
    std::memmove(data_ + position + added.size(), data_ + position, static_cast<std::size_t>(tail));
    std::memcpy(data_ + position, added.data(), added.size());
}

void CStringBuffer::vformat(bool appendResult, const char* format, std::va_list arguments) {
    char scratch[kFormatSize];
    const int length = platform::formatText(scratch, sizeof scratch, format, arguments);
    const std::string_view text(scratch, static_cast<std::size_t>(std::clamp(length, 0, kFormatSize - 1)));
    appendResult ? append(text) : set(text);
}

void CStringBuffer::format(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    vformat(false, format, arguments);
    va_end(arguments);
}

void CStringBuffer::appendFormat(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    vformat(true, format, arguments);
    va_end(arguments);
}

void CStringBuffer::substring(const CStringBuffer& source, std::int32_t start, std::int32_t count,
                              bool appendResult) {
    if (start < 0 || start >= source.length_) return;
    const std::size_t wanted = count < 0 ? std::string_view::npos : static_cast<std::size_t>(count);
    const std::string_view part = source.view().substr(static_cast<std::size_t>(start), wanted);
    appendResult ? append(part) : set(part);
}

void CStringBuffer::clear() {
    if (data_ == nullptr) {
        set("");
        return;
    }
    length_ = 0;
    end_ = data_;
    *end_ = '\0';
}

std::int32_t CStringBuffer::copyTo(char* target, std::int32_t size) const {
    if (size < 1) return 0;
    const std::int32_t count = std::min(size - 1, length_);
    std::memcpy(target, text(), static_cast<std::size_t>(count));
    target[count] = '\0';
    return count;
}

int CStringBuffer::compare(const char* other) const {
    return std::strcmp(text(), other != nullptr ? other : "");
}

namespace {
std::string folded(std::string_view text, bool ignoreCase) {
    std::string copy(text);
    if (ignoreCase) {
        for (char& c : copy) c = CaseTable::latin().upper(c);
    }
    return copy;
}
}  // namespace

bool CStringBuffer::endsWith(const char* ending, std::int32_t length, bool ignoreCase) const {
    const std::string_view wanted(ending != nullptr ? ending : "", measured(ending, length));
    if (wanted.size() > static_cast<std::size_t>(length_)) return false;
    const std::string_view tail = view().substr(static_cast<std::size_t>(length_) - wanted.size());
    return ignoreCase ? CaseTable::latin().equal(tail, wanted) : tail == wanted;
}

std::int32_t CStringBuffer::find(char character, std::int32_t from, bool ignoreCase) const {
    if (from < 0 || from >= length_) return -1;
    const CaseTable& table = CaseTable::latin();
    const char wanted = ignoreCase ? table.upper(character) : character;
    for (std::int32_t i = from; i < length_; ++i) {
        if ((ignoreCase ? table.upper(data_[i]) : data_[i]) == wanted) return i;
    }
    return -1;
}

std::int32_t CStringBuffer::find(const char* wanted, std::int32_t from, bool ignoreCase) const {
    if (from < 0 || from >= length_) return -1;
    const auto start = static_cast<std::size_t>(from);
    const std::string_view sought = wanted != nullptr ? wanted : "";
    const std::size_t at =
        ignoreCase ? folded(view(), true).find(folded(sought, true), start) : view().find(sought, start);
    return at == std::string_view::npos ? -1 : static_cast<std::int32_t>(at);
}

void CStringBuffer::replace(const char* oldText, const char* newText) {
    const std::string_view sought = oldText != nullptr ? oldText : "";
    const std::string_view substitute = newText != nullptr ? newText : "";
    if (sought.empty()) return;
    std::vector<std::size_t> matches;  // last first
    for (std::size_t at = view().rfind(sought); at != std::string_view::npos;) {
        matches.push_back(at);
        if (at < sought.size()) break;
        at = view().rfind(sought, at - sought.size());
    }
    if (matches.empty()) return;
    std::string result;
    std::size_t done = 0;
    for (auto match = matches.rbegin(); match != matches.rend(); ++match) {
        result.append(view().substr(done, *match - done)).append(substitute);
        done = *match + sought.size();
    }
    result.append(view().substr(done));
    set(result);
}

void CStringBuffer::toUpper(const CaseTable& table) {
    for (std::int32_t i = 0; i < length_; ++i) data_[i] = table.upper(data_[i]);
}

void CStringBuffer::toLower(const CaseTable& table) {
    for (std::int32_t i = 0; i < length_; ++i) data_[i] = table.lower(data_[i]);
}

void CStringBuffer::normaliseLineEnds() {
    std::string result;
    for (std::int32_t i = 0; i < length_; ++i) {
        result.push_back(data_[i]);
        if (data_[i] == '\r' && (i + 1 == length_ || data_[i + 1] != '\n')) result.push_back('\n');
    }
    if (result.size() != static_cast<std::size_t>(length_)) set(result);
}

char* CStringBuffer::editBuffer(std::int32_t size) {
    const std::int32_t wanted = size < 1 ? block_ : size;
    char* lent = static_cast<char*>(platform::heapAllocate(static_cast<std::size_t>(wanted)));
    platform::heapFree(edit_);
    edit_ = lent;
    editSize_ = wanted;
    copyTo(edit_, editSize_);
    return edit_;
}

void CStringBuffer::releaseEditBuffer(bool take, std::int32_t length) {
    if (edit_ == nullptr) return;
    if (take) {
        const std::size_t written = strnlen(edit_, static_cast<std::size_t>(editSize_));
        set(std::string_view(edit_,
                             length < 0 ? written : static_cast<std::size_t>(std::min(length, editSize_))));
    }
    platform::heapFree(edit_);
    edit_ = nullptr;
    editSize_ = 0;
}

void CStringBuffer::attach(char* storage, std::int32_t length, std::int32_t capacity) {
    if (storage == nullptr) {
        clear();
        return;
    }
    if (length < 1) {
        const std::size_t size =
            capacity < 1 ? std::strlen(storage) : strnlen(storage, static_cast<std::size_t>(capacity));
        if (size >= INT32_MAX) throw std::length_error("text too long");
        length = static_cast<std::int32_t>(size);
    }
    if (capacity < 1) capacity = length + 1;
    if (storage != data_) platform::heapFree(data_);
    data_ = storage;
    capacity_ = capacity;
    length_ = std::min(length, capacity - 1);
    end_ = data_ + length_;
    *end_ = '\0';
    storage_ = static_cast<std::size_t>(capacity);
}

char* CStringBuffer::detach() {
    char* storage = std::exchange(data_, nullptr);
    end_ = nullptr;
    capacity_ = length_ = 0;
    storage_ = 0;
    return storage;
}

bool CStringBuffer::writeToFile(std::FILE* stream) const {
    const std::size_t size = strnlen(text(), static_cast<std::size_t>(length_));
    return std::fwrite(text(), 1, size, stream) == size;
}

}  // namespace wsql
