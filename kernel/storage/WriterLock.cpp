#include "kernel/storage/WriterLock.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <thread>
#include <utility>

#include "kernel/storage/OpenFileLock.h"

namespace wdb {

namespace {

// The lock is on the first byte of the file; the counters begin at a place of their own.
constexpr off_t kPageSize = 4096;
constexpr size_t kCatalogVersionAt = 64;
constexpr size_t kUnitPendingAt = 128;
constexpr size_t kUnitVoidAt = 192;
static_assert(std::atomic<uint64_t>::is_always_lock_free && sizeof(std::atomic<uint64_t>) == 8);

}  // namespace

WriterHold& WriterHold::operator=(WriterHold&& other) noexcept {
    if (this != &other) {
        release();
        lock_ = std::move(other.lock_);
    }
    return *this;
}

void WriterHold::release() {
    if (lock_ != nullptr) std::exchange(lock_, nullptr)->release();
}

Result<std::shared_ptr<WriterLock>> WriterLock::open(const std::string& path) {
    std::shared_ptr<WriterLock> lock(new WriterLock);
    lock->file_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lock->file_ < 0) return Status{WDB_E_STORAGE};
    // With its block, since a store into a mapped hole of a full disk would kill the process. Doing so twice
    // changes nothing: openers need no lock among themselves.
    if (::posix_fallocate(lock->file_, 0, kPageSize) != 0) return Status{WDB_E_STORAGE};
    void* page = ::mmap(nullptr, kPageSize, PROT_READ | PROT_WRITE, MAP_SHARED, lock->file_, 0);
    if (page == MAP_FAILED) return Status{WDB_E_STORAGE};
    lock->page_ = page;
    lock->catalogVersion_ = std::make_unique<SharedCounter>(
        reinterpret_cast<std::atomic<uint64_t>*>(static_cast<char*>(page) + kCatalogVersionAt));
    lock->unitPending_ = reinterpret_cast<std::atomic<uint64_t>*>(static_cast<char*>(page) + kUnitPendingAt);
    lock->unitVoid_ = reinterpret_cast<std::atomic<uint64_t>*>(static_cast<char*>(page) + kUnitVoidAt);
    return lock;
}

WriterLock::~WriterLock() {
    if (page_ != nullptr) ::munmap(page_, kPageSize);
    if (file_ >= 0) ::close(file_);
}

Result<WriterHold> WriterLock::acquire(std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    {
        std::unique_lock lock(mutex_);
        if (!freed_.wait_until(lock, deadline, [this] { return !held_; })) return Status{WDB_E_LOCKED};
        held_ = true;
    }
    const Status status = lockFile(deadline);
    if (ok(status)) return WriterHold(shared_from_this());
    std::lock_guard lock(mutex_);
    held_ = false;
    freed_.notify_one();
    return status;
}

Status WriterLock::lockFile(std::chrono::steady_clock::time_point deadline) {
    constexpr std::chrono::microseconds kFirstPause{50};
    constexpr std::chrono::microseconds kLongestPause{2000};
    for (auto pause = kFirstPause;; pause = std::min(pause * 2, kLongestPause)) {
        if (setOpenFileLock(file_, F_WRLCK)) return WDB_OK;
        if (errno != EAGAIN && errno != EACCES && errno != EINTR) return WDB_E_STORAGE;
        if (std::chrono::steady_clock::now() >= deadline) return WDB_E_LOCKED;
        std::this_thread::sleep_for(pause);
    }
}

void WriterLock::release() {
    setOpenFileLock(file_, F_UNLCK);
    std::lock_guard lock(mutex_);
    held_ = false;
    freed_.notify_one();
}

}  // namespace wdb
