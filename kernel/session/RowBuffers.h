#pragma once

#include <cstddef>
#include <cstdlib>
#include <vector>

namespace wdb {

// Memory that the session has handed out and that the caller gives back, newest last.
class RowBuffers {
public:
    RowBuffers() = default;
    RowBuffers(const RowBuffers&) = delete;
    RowBuffers& operator=(const RowBuffers&) = delete;
    ~RowBuffers() {
        for (void* memory : live_) std::free(memory);
    }

    // Null when there is no memory.
    void* allocate(size_t size) {
        live_.push_back(nullptr);
        void* memory = std::malloc(size);
        live_.back() = memory;
        if (memory == nullptr) live_.pop_back();
        return memory;
    }
    // False when the memory is not from here.
    bool release(void* memory) {
        for (size_t i = live_.size(); i-- > 0;) {
            if (live_[i] != memory) continue;
            for (; i + 1 < live_.size(); ++i) live_[i] = live_[i + 1];
            live_.pop_back();
            std::free(memory);
            return true;
        }
        return false;
    }
    size_t size() const { return live_.size(); }

private:
    std::vector<void*> live_;
};

}  // namespace wdb
