#include "kernel/record/PackedImage.h"

#include <algorithm>

#include "kernel/common/ByteOrder.h"
#include "kernel/record/RecordImage.h"

namespace wdb {

using namespace record_image;

namespace {

constexpr size_t kLeastTail = 64;              // bytes; below it packing spares next to nothing
constexpr size_t kMostTail = size_t{1} << 20;  // larger texts stay as they are: they are read in pieces
constexpr size_t kMostFront = UINT16_MAX;
constexpr size_t kLeastSpared = 16;

// Where the first of the long fields of a directory begins, or `begin` when that is before.
size_t firstLong(const FieldsView& fields, Slice image, size_t begin) {
    for (size_t place = 0; place < fields.size(); ++place) {
        size_t size = 0;
        for (const Slice item : fields.itemsAt(place)) size += item.size() + (item.size() < 255 ? 1 : 5);
        if (size < kLongField) continue;
        const Slice first = *fields.itemsAt(place).begin();
        const size_t length = first.size() < 255 ? 1 : 5;
        begin = std::min(begin, static_cast<size_t>(first.data() - image.data()) - length);
    }
    return begin;
}

// Appends the packed tail of an image when it holds these values.
bool appendTailOf(Slice stored, Slice tail, const TailDictionary& dictionary, std::string& packed) {
    if (!isPacked(stored) || dictionaryOf(stored) != dictionary.id()) return false;
    const size_t end = stored.size() - kTrailerSize;
    const auto begin = loadLittle<uint16_t>(stored.data() + stored.size() - sizeof(uint16_t));
    if (begin < kHeaderSize || begin > end) return false;
    const Slice kept = stored.substr(begin, end - begin);
    std::string text;
    if (!dictionary.unpack(kept, tail.size(), text) || text != tail) return false;
    packed.append(kept);
    return true;
}

}  // namespace

size_t tailBegin(Slice image) {
    if (isPacked(image) || !RecordView::validateShape(image)) return image.size();
    const RecordView view = RecordView::trusted(image);
    size_t begin = firstLong(view.head(), image, image.size());
    for (PartNumber part = 1; part <= view.partCount(); ++part)
        begin = firstLong(view.part(part), image, begin);
    return begin;
}

bool isPacked(Slice image) {
    return image.size() >= kHeaderSize && static_cast<uint8_t>(image[kVersionAt]) == kPackedVersion;
}

uint32_t dictionaryOf(Slice packed) {
    if (packed.size() < kHeaderSize + kTrailerSize) return 0;
    return loadLittle<uint32_t>(packed.data() + packed.size() - kTrailerSize);
}

bool packImage(Slice image, const TailDictionary& dictionary, std::string& packed, Slice before) {
    if (image.size() < kHeaderSize + kLeastTail) return false;
    const size_t begin = tailBegin(image);
    const size_t size = image.size() - begin;
    if (size < kLeastTail || size > kMostTail || begin > kMostFront) return false;
    packed.assign(image.substr(0, begin));
    const Slice tail = image.substr(begin);
    if (!appendTailOf(before, tail, dictionary, packed) && !dictionary.pack(tail, packed)) return false;
    appendLittle(packed, dictionary.id());
    appendLittle(packed, static_cast<uint16_t>(begin));
    if (packed.size() + kLeastSpared > image.size()) return false;
    packed[kVersionAt] = static_cast<char>(kPackedVersion);
    sealImage(packed);
    return true;
}

Status unpackImage(Slice packed, const TailDictionary& dictionary, std::string& image) {
    image.clear();
    if (!isPacked(packed) || dictionaryOf(packed) != dictionary.id()) return WDB_E_CORRUPT;
    const size_t end = packed.size() - kTrailerSize;
    const auto begin = loadLittle<uint16_t>(packed.data() + packed.size() - sizeof(uint16_t));
    if (begin < kHeaderSize || begin > end) return WDB_E_CORRUPT;
    image.append(packed.substr(0, begin));
    if (!dictionary.unpack(packed.substr(begin, end - begin), kMostTail, image)) return WDB_E_CORRUPT;
    image[kVersionAt] = static_cast<char>(kVersion);
    sealImage(image);
    return RecordView::validateShape(image).status();
}

}  // namespace wdb
