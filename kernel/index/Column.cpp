#include "kernel/index/Column.h"

#include <algorithm>

#include <xxhash.h>

#include "kernel/common/ByteOrder.h"
#include "kernel/index/ColumnKernels.h"

namespace wdb {

namespace {

uint32_t checksum(Slice block) {
    return static_cast<uint32_t>(XXH3_64bits(block.data() + 4, block.size() - 4));
}

uint64_t readEntry(const char* data, unsigned width, uint32_t place) {
    uint64_t entry = 0;
    std::memcpy(&entry, data + size_t{place} * width, width);
    return entry;
}

// Bytes that hold 0 and 1 to range + 1; 0 when none do.
unsigned widthFor(uint64_t range) {
    if (range < UINT8_MAX) return 1;
    if (range < UINT16_MAX) return 2;
    if (range < UINT32_MAX) return 4;
    return range < UINT64_MAX ? 8 : 0;
}

}  // namespace

bool ColumnValues::empty() const {
    return std::none_of(values_.begin(), values_.end(), [](const auto& value) { return value.has_value(); });
}

Status ColumnValues::decode(Slice block) {
    const Result<ColumnView> view = ColumnView::open(block);
    if (!view) return view.status();
    for (uint32_t place = 0; place < kColumnRecords; ++place) values_[place] = view->at(place);
    return WDB_OK;
}

void ColumnValues::encode(std::string& out) const {
    int64_t smallest = INT64_MAX;
    int64_t largest = INT64_MIN;
    for (const auto& value : values_) {
        if (!value) continue;
        smallest = std::min(smallest, *value);
        largest = std::max(largest, *value);
    }
    const unsigned width = widthFor(static_cast<uint64_t>(largest) - static_cast<uint64_t>(smallest));
    const size_t begin = out.size();
    out.resize(begin + kColumnHeader + size_t{width} * kColumnRecords);
    char* const block = out.data() + begin;
    block[4] = static_cast<char>(width);
    storeLittle(block + 8, static_cast<uint64_t>(smallest));
    for (uint32_t place = 0; width != 0 && place < kColumnRecords; ++place) {
        if (!values_[place]) continue;
        const uint64_t entry = static_cast<uint64_t>(*values_[place]) - static_cast<uint64_t>(smallest) + 1;
        std::memcpy(block + kColumnHeader + size_t{place} * width, &entry, width);
    }
    storeLittle(block, checksum(Slice(block, out.size() - begin)));
}

Result<ColumnView> ColumnView::open(Slice block) {
    if (block.size() < kColumnHeader) return Status{WDB_E_CORRUPT};
    ColumnView view;
    view.width_ = static_cast<unsigned char>(block[4]);
    const unsigned width = view.width_;
    if (width != 0 && width != 1 && width != 2 && width != 4 && width != 8) return Status{WDB_E_CORRUPT};
    if (block.size() != kColumnHeader + size_t{width} * kColumnRecords) return Status{WDB_E_CORRUPT};
    if (width == 0) return Status{WDB_FAIL};
    view.base_ = static_cast<int64_t>(loadLittle<uint64_t>(block.data() + 8));
    view.data_ = block.data() + kColumnHeader;
    return view;
}

std::optional<int64_t> ColumnView::at(uint32_t place) const {
    const uint64_t entry = readEntry(data_, width_, place);
    if (entry == 0) return std::nullopt;
    return static_cast<int64_t>(static_cast<uint64_t>(base_) + entry - 1);
}

namespace {

template <typename Entry>
void gatherEntries(const char* data, int64_t base, std::span<const RecordNumber> records, RecordNumber first,
                   int64_t* values, char* present) {
    const uint64_t before = static_cast<uint64_t>(base) - 1;
    for (size_t i = 0; i < records.size(); ++i) {
        Entry entry;
        std::memcpy(&entry, data + size_t{records[i] - first} * sizeof entry, sizeof entry);
        values[i] = entry == 0 ? 0 : static_cast<int64_t>(before + entry);
        present[i] = entry != 0;
    }
}

}  // namespace

void ColumnView::gather(std::span<const RecordNumber> records, RecordNumber first, int64_t* values,
                        char* present) const {
    switch (width_) {
        case 1:
            return gatherEntries<uint8_t>(data_, base_, records, first, values, present);
        case 2:
            return gatherEntries<uint16_t>(data_, base_, records, first, values, present);
        case 4:
            return gatherEntries<uint32_t>(data_, base_, records, first, values, present);
        default:
            return gatherEntries<uint64_t>(data_, base_, records, first, values, present);
    }
}

void ColumnView::scan(uint32_t block, int64_t low, int64_t high, RecordSetBuilder& out) const {
    if (high < base_) return;
    const uint64_t largest = width_ == 8 ? UINT64_MAX : (uint64_t{1} << (8 * width_)) - 1;
    // Bounds as entries, which begin with 1.
    const uint64_t from = low <= base_ ? 1 : static_cast<uint64_t>(low) - static_cast<uint64_t>(base_) + 1;
    const uint64_t distance = static_cast<uint64_t>(high) - static_cast<uint64_t>(base_);
    const uint64_t to = distance >= largest ? largest : distance + 1;
    if (from > to || from == 0) return;
    const ColumnKernels& kernels = columnKernels();
    const uint64_t span = to - from;
    uint64_t words[kColumnWords];
    switch (width_) {
        case 1:
            kernels.compare8(data_, static_cast<uint8_t>(from), static_cast<uint8_t>(span), words,
                             kColumnWords);
            break;
        case 2:
            kernels.compare16(data_, static_cast<uint16_t>(from), static_cast<uint16_t>(span), words,
                              kColumnWords);
            break;
        case 4:
            kernels.compare32(data_, static_cast<uint32_t>(from), static_cast<uint32_t>(span), words,
                              kColumnWords);
            break;
        default:
            kernels.compare64(data_, from, span, words, kColumnWords);
            break;
    }
    out.addWords(block * kColumnWords, words, kColumnWords);
}

Status validateColumn(Slice block) {
    const Result<ColumnView> view = ColumnView::open(block);
    if (!view && view.status() != WDB_FAIL) return view.status();
    return loadLittle<uint32_t>(block.data()) == checksum(block) ? WDB_OK : WDB_E_CORRUPT;
}

}  // namespace wdb
