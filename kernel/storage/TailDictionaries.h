#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "kernel/record/TailDictionary.h"

namespace wdb {

// The dictionaries of a base file that somebody in this process has needed, as long as it has the file open.
// A dictionary is told by its contents, so one that was never committed may stay here. Safe to use from all
// threads.
class TailDictionaries {
public:
    // Null when it is not here. It lives as long as the file is open.
    const TailDictionary* find(uint32_t id) const {
        const TailDictionary* newest = newest_.load(std::memory_order_acquire);
        if (newest == nullptr || newest->id() == id) [[likely]]
            return newest;
        const std::lock_guard lock(mutex_);
        return among(id);
    }
    // Keeps it unless it is here already; the one that is kept.
    const TailDictionary* add(std::unique_ptr<const TailDictionary> dictionary) {
        const std::lock_guard lock(mutex_);
        if (const TailDictionary* present = among(dictionary->id())) return present;
        all_.push_back(std::move(dictionary));
        newest_.store(all_.back().get(), std::memory_order_release);
        return all_.back().get();
    }

private:
    const TailDictionary* among(uint32_t id) const {
        for (const auto& dictionary : all_) {
            if (dictionary->id() == id) return dictionary.get();
        }
        return nullptr;
    }

    std::atomic<const TailDictionary*> newest_{nullptr};
    mutable std::mutex mutex_;
    std::vector<std::unique_ptr<const TailDictionary>> all_;
};

}  // namespace wdb
