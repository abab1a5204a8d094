#include "kernel/index/SpilledRun.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "kernel/common/ByteOrder.h"

namespace wdb {
namespace {

constexpr size_t kWriteBlock = size_t{1} << 20;

class MemoryRun final : public PostingRun {
public:
    MemoryRun(const PostingTable& table, std::vector<uint32_t> order)
        : table_(table), order_(std::move(order)) {}
    // Neighbours by key are no neighbours in memory: those to come are sent for.
    bool next() override {
        constexpr size_t kAhead = 4;
        if (at_ + 2 * kAhead < order_.size()) table_.fetchKey(order_[at_ + 2 * kAhead]);
        if (at_ + kAhead < order_.size()) table_.fetchStream(order_[at_ + kAhead]);
        return at_++ < order_.size();
    }
    Slice key() const override { return table_.key(order_[at_ - 1]); }
    Slice stream() const override { return table_.stream(order_[at_ - 1]); }

private:
    const PostingTable& table_;
    const std::vector<uint32_t> order_;
    size_t at_ = 0;
};

// Entries of the file: length of the key and of the stream (4 bytes each), key, stream.
class FileRun final : public PostingRun {
public:
    FileRun(char* map, size_t size) : map_(map), size_(size) {}
    ~FileRun() override { munmap(map_, size_); }
    FileRun(const FileRun&) = delete;
    FileRun& operator=(const FileRun&) = delete;

    bool next() override {
        if (at_ == size_) return false;
        const auto keySize = loadLittle<uint32_t>(map_ + at_);
        const auto streamSize = loadLittle<uint32_t>(map_ + at_ + 4);
        key_ = Slice(map_ + at_ + 8, keySize);
        stream_ = Slice(map_ + at_ + 8 + keySize, streamSize);
        at_ += size_t{8} + keySize + streamSize;
        return true;
    }
    Slice key() const override { return key_; }
    Slice stream() const override { return stream_; }

private:
    char* map_;
    size_t size_;
    size_t at_ = 0;
    Slice key_;
    Slice stream_;
};

class File {
public:
    explicit File(int descriptor) : descriptor_(descriptor) {}
    ~File() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    int descriptor() const { return descriptor_; }

private:
    int descriptor_;
};

bool writeAll(int descriptor, const std::string& bytes) {
    for (size_t at = 0; at < bytes.size();) {
        const ssize_t written = write(descriptor, bytes.data() + at, bytes.size() - at);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        at += static_cast<size_t>(written);
    }
    return true;
}

}  // namespace

std::unique_ptr<PostingRun> memoryRun(const PostingTable& table, std::vector<uint32_t> order) {
    return std::make_unique<MemoryRun>(table, std::move(order));
}

Result<std::unique_ptr<PostingRun>> spillRun(const PostingTable& table, const std::vector<uint32_t>& order,
                                             const std::string& directory) {
    std::string path = directory + "/.run-XXXXXX";
    const File file(mkostemp(path.data(), O_CLOEXEC));
    if (file.descriptor() < 0) return Status{WDB_E_STORAGE};
    unlink(path.c_str());
    std::string block;
    size_t size = 0;
    for (const uint32_t number : order) {
        appendLittle<uint32_t>(block, static_cast<uint32_t>(table.key(number).size()));
        appendLittle<uint32_t>(block, static_cast<uint32_t>(table.stream(number).size()));
        block.append(table.key(number));
        block.append(table.stream(number));
        if (block.size() < kWriteBlock) continue;
        if (!writeAll(file.descriptor(), block)) return Status{WDB_E_STORAGE};
        size += block.size();
        block.clear();
    }
    if (!writeAll(file.descriptor(), block)) return Status{WDB_E_STORAGE};
    size += block.size();
    if (size == 0) return memoryRun(table, {});
    void* map = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.descriptor(), 0);
    if (map == MAP_FAILED) return Status{WDB_E_STORAGE};
    madvise(map, size, MADV_SEQUENTIAL);
    return std::unique_ptr<PostingRun>(std::make_unique<FileRun>(static_cast<char*>(map), size));
}

RunMerger::RunMerger(std::vector<std::unique_ptr<PostingRun>> runs, Postings kind)
    : kind_(kind), runs_(std::move(runs)) {
    for (const auto& run : runs_) {
        if (run->next()) sources_.push_back({run.get(), run->key()});
    }
}

bool RunMerger::nextKey() {
    if (sources_.empty()) return false;
    const auto least = std::ranges::min_element(sources_, {}, &Source::key);
    key_.assign(least->key);
    streams_.clear();
    current_ = nullptr;
    for (size_t i = sources_.size(); i-- > 0;) {
        Source& source = sources_[i];
        if (source.key != key_) continue;
        streams_.emplace_back(source.run->stream(), kind_);
        if (!streams_.back().next()) streams_.pop_back();
        if (source.run->next())
            source.key = source.run->key();
        else
            sources_.erase(sources_.begin() + static_cast<ptrdiff_t>(i));
    }
    open_ = streams_.size();
    return true;
}

bool RunMerger::nextPosting() {
    if (current_ != nullptr && !current_->next()) std::swap(*current_, streams_[--open_]);
    if (open_ == 0) return false;
    current_ = streams_.data();
    for (size_t i = 1; i < open_; ++i) {
        if (streams_[i].record() < current_->record()) current_ = &streams_[i];
    }
    return true;
}

}  // namespace wdb
