#include "kernel/index/SpilledRun.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

#include "kernel/common/ByteOrder.h"

namespace wdb {
namespace {

constexpr size_t kWriteBlock = size_t{1} << 20;

class MemoryRun final : public PostingRun {
public:
    MemoryRun(const PostingTable& table, std::vector<uint32_t> order)
        : table_(table), order_(std::move(order)) {}
    bool next() override { return at_++ < order_.size(); }
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

RunMerger::RunMerger(std::vector<std::unique_ptr<PostingRun>> runs) {
    for (auto& run : runs) {
        const bool alive = run->next();
        sources_.push_back({std::move(run), alive});
    }
}

bool RunMerger::nextKey() {
    const Source* least = nullptr;
    for (const Source& source : sources_) {
        if (source.alive && (least == nullptr || source.run->key() < least->run->key())) least = &source;
    }
    if (least == nullptr) return false;
    key_.assign(least->run->key());
    streams_.clear();
    open_.clear();
    current_ = kNone;
    for (Source& source : sources_) {
        if (!source.alive || source.run->key() != key_) continue;
        streams_.emplace_back(source.run->stream());
        open_.push_back(streams_.back().next());
        source.alive = source.run->next();
    }
    return true;
}

bool RunMerger::nextPosting() {
    if (current_ != kNone) open_[current_] = streams_[current_].next();
    current_ = kNone;
    for (size_t place = 0; place < streams_.size(); ++place) {
        if (open_[place] && (current_ == kNone || streams_[place].record() < streams_[current_].record()))
            current_ = place;
    }
    return current_ != kNone;
}

}  // namespace wdb
