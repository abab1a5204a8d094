#include "kernel/record/TailDictionary.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <vector>

#include <xxhash.h>
#include <zstd.h>

namespace wdb {

namespace {

constexpr int kLevel = 3;         // the levels around it are larger or slower on texts of some hundred bytes
constexpr size_t kMagicSize = 4;  // of a frame; the same in all, so that it is not stored

struct FreeParts {
    void operator()(ZSTD_CDict* part) const { ZSTD_freeCDict(part); }
    void operator()(ZSTD_DDict* part) const { ZSTD_freeDDict(part); }
    void operator()(ZSTD_CCtx* part) const { ZSTD_freeCCtx(part); }
    void operator()(ZSTD_DCtx* part) const { ZSTD_freeDCtx(part); }
};
template <typename Part>
using Owned = std::unique_ptr<Part, FreeParts>;

template <typename Part>
Owned<Part> made(Part* part) {
    if (part == nullptr) throw std::bad_alloc();
    return Owned<Part>(part);
}

struct Packer {
    Owned<ZSTD_CCtx> context;
};
struct Unpacker {
    Owned<ZSTD_DCtx> context;
    std::string frame;
};

// Working memories that are not in use.
template <typename Item>
class Pool {
public:
    bool take(Item& item) {
        const std::lock_guard lock(mutex_);
        if (items_.empty()) return false;
        item = std::move(items_.back());
        items_.pop_back();
        return true;
    }
    void give(Item item) {
        const std::lock_guard lock(mutex_);
        items_.push_back(std::move(item));
    }

private:
    std::mutex mutex_;
    std::vector<Item> items_;
};

constexpr unsigned char kMagic[kMagicSize] = {0x28, 0xB5, 0x2F, 0xFD};

}  // namespace

struct TailDictionary::Codec {
    const std::string bytes;
    const Owned<ZSTD_DDict> reading;
    std::once_flag once;
    Owned<ZSTD_CDict> writing;  // made by who packs first
    Pool<Packer> packers;
    Pool<Unpacker> unpackers;

    Packer packer() {
        std::call_once(once,
                       [this] { writing = made(ZSTD_createCDict(bytes.data(), bytes.size(), kLevel)); });
        Packer taken;
        if (packers.take(taken)) return taken;
        taken.context = made(ZSTD_createCCtx());
        ZSTD_CCtx* context = taken.context.get();
        if (ZSTD_isError(ZSTD_CCtx_setParameter(context, ZSTD_c_dictIDFlag, 0)) ||
            ZSTD_isError(ZSTD_CCtx_refCDict(context, writing.get())))
            throw std::bad_alloc();
        return taken;
    }
    Unpacker unpacker() {
        Unpacker taken;
        if (!unpackers.take(taken)) taken.context = made(ZSTD_createDCtx());
        return taken;
    }
};

TailDictionary::TailDictionary(uint32_t id, std::unique_ptr<Codec> codec)
    : id_(id), codec_(std::move(codec)) {}
TailDictionary::~TailDictionary() = default;

uint32_t TailDictionary::idOf(Slice bytes) {
    return std::max(1u, static_cast<uint32_t>(XXH3_64bits(bytes.data(), bytes.size())));
}

Result<std::unique_ptr<const TailDictionary>> TailDictionary::open(Slice bytes) {
    Owned<ZSTD_DDict> reading(ZSTD_createDDict(bytes.data(), bytes.size()));
    if (reading == nullptr) return Status{WDB_E_CORRUPT};
    std::unique_ptr<Codec> codec(new Codec{std::string(bytes), std::move(reading), {}, nullptr, {}, {}});
    return std::unique_ptr<const TailDictionary>(new TailDictionary(idOf(bytes), std::move(codec)));
}

bool TailDictionary::pack(Slice text, std::string& out) const {
    Packer packer = codec_->packer();
    const size_t before = out.size();
    out.resize(before + ZSTD_compressBound(text.size()));
    const size_t size = ZSTD_compress2(packer.context.get(), out.data() + before, out.size() - before,
                                       text.data(), text.size());
    const bool packed =
        !ZSTD_isError(size) && size > kMagicSize &&
        std::equal(kMagic, kMagic + kMagicSize, reinterpret_cast<const unsigned char*>(out.data() + before));
    out.resize(packed ? before + size : before);
    if (packed) out.erase(before, kMagicSize);
    codec_->packers.give(std::move(packer));
    return packed;
}

bool TailDictionary::unpack(Slice packed, size_t limit, std::string& out) const {
    Unpacker unpacker = codec_->unpacker();
    std::string& frame = unpacker.frame;
    frame.assign(reinterpret_cast<const char*>(kMagic), kMagicSize);
    frame.append(packed);
    const unsigned long long size = ZSTD_getFrameContentSize(frame.data(), frame.size());
    bool whole = size <= limit;  // which neither of the two marks for an unknown size is
    if (whole) {
        const size_t before = out.size();
        out.resize(before + size);
        whole = ZSTD_decompress_usingDDict(unpacker.context.get(), out.data() + before, size, frame.data(),
                                           frame.size(), codec_->reading.get()) == size;
    }
    codec_->unpackers.give(std::move(unpacker));
    return whole;
}

}  // namespace wdb
