#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "kernel/common/Status.h"
#include "kernel/storage/SharedCounter.h"

namespace wdb {

class WriterLock;

// The right to write in a home directory, until it is released or destroyed. It may move between threads.
class WriterHold {
public:
    WriterHold() = default;
    WriterHold(WriterHold&& other) noexcept : lock_(std::move(other.lock_)) {}
    WriterHold& operator=(WriterHold&& other) noexcept;
    ~WriterHold() { release(); }
    bool held() const { return lock_ != nullptr; }
    void release();

private:
    friend class WriterLock;
    explicit WriterHold(std::shared_ptr<WriterLock> lock) : lock_(std::move(lock)) {}
    std::shared_ptr<WriterLock> lock_;
};

// One writer per home directory, across threads and processes. Between processes it is a lock on the open
// file `writer.lock`, which the system gives back when its holder dies; between threads a condition. The file
// also carries counters that all processes map.
class WriterLock : public std::enable_shared_from_this<WriterLock> {
public:
    // Opens or makes the lock file. WDB_E_STORAGE.
    static Result<std::shared_ptr<WriterLock>> open(const std::string& path);
    ~WriterLock();

    // Waits at most so long: WDB_E_LOCKED. A patience of 0 tries once.
    Result<WriterHold> acquire(std::chrono::milliseconds patience);

    // Version of the catalogue; see SharedCounter.
    SharedCounter& catalogVersion() { return *catalogVersion_; }
    // Not 0 while the catalogue holds the record of a unit that is to be finished. What the catalogue says
    // counts; this only saves the look.
    std::atomic<uint64_t>& unitPending() { return *unitPending_; }
    // Identity of a unit's record that is to be dropped and not to be finished, since its unit was refused
    // before any of its bases was committed and the record could not be removed then.
    std::atomic<uint64_t>& unitVoid() { return *unitVoid_; }

private:
    friend class WriterHold;
    WriterLock() = default;
    Status lockFile(std::chrono::steady_clock::time_point deadline);
    void release();

    int file_ = -1;
    void* page_ = nullptr;
    std::unique_ptr<SharedCounter> catalogVersion_;
    std::atomic<uint64_t>* unitPending_ = nullptr;
    std::atomic<uint64_t>* unitVoid_ = nullptr;
    std::mutex mutex_;
    std::condition_variable freed_;
    bool held_ = false;  // by a thread of this process
};

}  // namespace wdb
