#include "kernel/index/PositionReader.h"

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "kernel/common/ByteOrder.h"
#include "kernel/index/IndexFormat.h"

namespace wdb {

namespace {

// The sum of so many bytes, 32 at a time where the processor can, then eight at a time: pairs of them in
// 16-bit lanes, the lanes by one multiplication.
size_t sumOf(const char* bytes, size_t count) {
    constexpr uint64_t kEven = 0x00FF00FF00FF00FFU;
    size_t sum = 0;
#if defined(__SSE2__)
    if (count >= 32) {
        const __m128i zero = _mm_setzero_si128();
        const auto load = [&](size_t at) {
            return _mm_sad_epu8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + at)), zero);
        };
        __m128i sums = zero;
        for (; count >= 32; count -= 32, bytes += 32)
            sums = _mm_add_epi64(sums, _mm_add_epi64(load(0), load(16)));
        sum = static_cast<size_t>(_mm_cvtsi128_si64(sums)) +
              static_cast<size_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(sums, sums)));
    }
#endif
    for (; count >= 8; count -= 8, bytes += 8) {
        uint64_t eight;
        std::memcpy(&eight, bytes, 8);
        sum += (((eight & kEven) + ((eight >> 8) & kEven)) * 0x0001000100010001U) >> 48;
    }
    for (; count > 0; --count, ++bytes) sum += static_cast<unsigned char>(*bytes);
    return sum;
}

}  // namespace

PositionReader::PositionReader(const Txn& words, Slice key, const RecordSet& records)
    : cursor_(words.cursor(word_table::kPositions)), key_(key), prefix_(key.size()), counter_(records) {
    key_.append(4, '\0');
}

// Makes the cursor's entry the present block; false when it is no block of this term that begins at or before
// the record.
bool PositionReader::take(RecordNumber record) {
    const Slice found = cursor_.key();
    if (found.size() != key_.size() || !found.starts_with(Slice(key_).substr(0, prefix_))) return false;
    const auto first = loadBig<uint32_t>(found.data() + prefix_);
    if (first > record) return false;
    const Result<PositionBlockView> block = PositionBlockView::open(first, cursor_.value());
    if (!block) return false;
    block_ = *block;
    before_ = counter_.below(first);
    place_ = 0;
    at_ = 0;
    return true;
}

// The last block that begins at or before the record: mostly the one behind the present one.
Status PositionReader::loadBlock(RecordNumber record) {
    if (block_.count > 0) {
        const Status next = cursor_.next();
        if (!ok(next) && next != WDB_FAIL) return next;
        if (ok(next) && take(record) && block_.last >= record) return WDB_OK;
    }
    storeBig(key_.data() + prefix_, record);
    Status status = cursor_.seek(key_);
    if (!ok(status) && status != WDB_FAIL) return status;
    if (!ok(status))
        status = cursor_.last();
    else if (cursor_.key() != key_)
        status = cursor_.previous();
    if (!ok(status) && status != WDB_FAIL) return status;
    return ok(status) && take(record) && block_.last >= record ? WDB_OK : WDB_E_CORRUPT;
}

Status PositionReader::seek(RecordNumber record, Slice& positions) {
    if (block_.count == 0 || block_.last < record) WDB_TRY(loadBlock(record));
    const uint64_t rank = counter_.below(record);
    if (rank < before_ + place_ || rank >= before_ + block_.count) return WDB_E_CORRUPT;
    const auto place = static_cast<uint32_t>(rank - before_);
    at_ += sumOf(block_.lengths + place_, place - place_);
    place_ = place;
    const size_t size = block_.length(place);
    if (at_ > block_.positions.size() || size > block_.positions.size() - at_) return WDB_E_CORRUPT;
    positions = block_.positions.substr(at_, size);
    return WDB_OK;
}

}  // namespace wdb
