#include "kernel/record/RecordImage.h"

#include <algorithm>

#include <xxhash.h>

#include "kernel/common/StatusError.h"
#include "kernel/record/PackedImage.h"

namespace wdb {

using namespace record_image;

namespace {

constexpr size_t kShortItem = 255;  // lengths below it take one byte
constexpr size_t kMaxImage = 0x7FFFFFFF;

uint32_t checksumOf(Slice image) {
    return static_cast<uint32_t>(XXH3_64bits(image.data() + kVersionAt, image.size() - kVersionAt));
}

// Whether the items of a directory entry lie inside the image.
bool itemsFit(Slice image, size_t offset, uint32_t count) {
    for (; count > 0; --count) {
        if (offset >= image.size()) return false;
        size_t length = static_cast<unsigned char>(image[offset++]);
        if (length == kShortItem) {
            if (image.size() - offset < 4) return false;
            length = loadLittle<uint32_t>(image.data() + offset);
            offset += 4;
        }
        if (image.size() - offset < length) return false;
        offset += length;
    }
    return true;
}

// `image` is what of it is not packed; with a tail, values may lie behind it.
bool directoryFits(Slice image, bool tail, size_t directory, size_t count) {
    if (directory > image.size() || (image.size() - directory) / kFieldEntry < count) return false;
    FieldNumber before = 0;
    for (size_t i = 0; i < count; ++i) {
        const char* entry = image.data() + directory + i * kFieldEntry;
        const auto field = loadLittle<uint16_t>(entry);
        const auto items = loadLittle<uint16_t>(entry + 2);
        const size_t offset = loadLittle<uint32_t>(entry + 4);
        if (field <= before || items == 0) return false;
        if (!(tail && offset >= image.size()) && !itemsFit(image, offset, items)) return false;
        before = field;
    }
    return true;
}

bool partsFit(Slice image, bool tail, size_t table, size_t count) {
    if (table > image.size() || (image.size() - table) / kPartEntry < count) return false;
    for (size_t i = 0; i < count; ++i) {
        const char* entry = image.data() + table + i * kPartEntry;
        if (!directoryFits(image, tail, loadLittle<uint32_t>(entry), loadLittle<uint16_t>(entry + 4)))
            return false;
    }
    return true;
}

size_t partTable(Slice image) {
    return kHeaderSize + loadLittle<uint16_t>(image.data() + kFieldCount) * kFieldEntry;
}

std::string makeHeader(uint8_t flags, size_t fields, uint64_t commit, size_t parts) {
    std::string image(kHeaderSize, '\0');
    image[kVersionAt] = static_cast<char>(kVersion);
    image[kFlags] = static_cast<char>(flags);
    storeLittle(image.data() + kFieldCount, static_cast<uint16_t>(fields));
    storeLittle(image.data() + kCommit, commit);
    storeLittle(image.data() + kPartCount, static_cast<uint32_t>(parts));
    return image;
}

size_t itemsSize(const FieldValues& values) {
    size_t size = 0;
    for (const std::string& item : values.items) size += item.size() + (item.size() < kShortItem ? 1 : 5);
    return size;
}

void appendItems(const FieldValues& values, std::string& image) {
    for (const std::string& item : values.items) {
        if (item.size() < kShortItem) {
            image.push_back(static_cast<char>(item.size()));
        } else {
            image.push_back(static_cast<char>(kShortItem));
            appendLittle(image, static_cast<uint32_t>(item.size()));
        }
        image.append(item);
    }
}

// A field's values and the place of their directory entry.
struct Placed {
    const FieldValues* values;
    size_t entry;
    size_t size;
};

void placeFields(const FieldsData& fields, size_t directory, std::vector<Placed>& placed) {
    for (const FieldValues& values : fields.fields()) {
        placed.push_back({&values, directory, itemsSize(values)});
        directory += kFieldEntry;
    }
}

void readFields(const FieldsView& view, FieldsData& data) {
    for (size_t i = 0; i < view.size(); ++i) {
        FieldValues& values = data.at(view.field(i));
        const ItemList items = view.itemsAt(i);
        values.items.reserve(items.size());
        for (const Slice item : items) values.items.emplace_back(item);
    }
}

}  // namespace

Slice ItemList::at(uint32_t position) const {
    if (position == 0 || position > count_) return {};
    Iterator item = begin();
    for (; position > 1; --position) ++item;
    return *item;
}

ItemList FieldsView::items(FieldNumber field) const {
    size_t low = 0, high = count_;
    while (low < high) {
        const size_t middle = (low + high) / 2;
        if (this->field(middle) < field)
            low = middle + 1;
        else
            high = middle;
    }
    return low < count_ && this->field(low) == field ? itemsAt(low) : ItemList();
}

Result<RecordView> RecordView::validate(Slice image, const TailDictionary* dictionary) {
    if (image.size() < kHeaderSize || checksum(image) != checksumOf(image)) return WDB_E_CORRUPT;
    return validateShape(image, dictionary);
}

Result<RecordView> RecordView::validateShape(Slice image, const TailDictionary* dictionary) {
    RecordView view(image);
    if (isPacked(image)) {
        if (dictionary == nullptr || dictionaryOf(image) != dictionary->id()) return WDB_E_CORRUPT;
        const size_t front = loadLittle<uint16_t>(image.data() + image.size() - sizeof(uint16_t));
        if (front < kHeaderSize || front > image.size() - kTrailerSize) return WDB_E_CORRUPT;
        view = RecordView(image, front, *dictionary);
    } else if (image.size() < kHeaderSize || static_cast<uint8_t>(image[kVersionAt]) != kVersion) {
        return WDB_E_CORRUPT;
    }
    const bool tail = view.dictionary_ != nullptr;
    const Slice front = image.substr(0, view.front_);
    if (!directoryFits(front, tail, kHeaderSize, view.head().size()) ||
        !partsFit(front, tail, partTable(image), view.partCount())) {
        return WDB_E_CORRUPT;
    }
    return view;
}

const std::string& RecordView::unpacked() const {
    if (unpacked_ == nullptr) {
        auto image = std::make_shared<std::string>();
        const Status status = unpackImage(image_, *dictionary_, *image);
        if (!ok(status)) throw StatusError(status);
        unpacked_ = std::move(image);
    }
    return *unpacked_;
}

FieldsView RecordView::part(PartNumber number) const {
    if (number == 0 || number > partCount()) return {};
    const char* entry = image_.data() + partTable(image_) + (number - 1) * kPartEntry;
    return {*this, loadLittle<uint32_t>(entry), loadLittle<uint16_t>(entry + 4)};
}

const FieldValues* FieldsData::find(FieldNumber field) const {
    const auto found = std::ranges::lower_bound(fields_, field, {}, &FieldValues::field);
    return found != fields_.end() && found->field == field ? &*found : nullptr;
}

FieldValues& FieldsData::at(FieldNumber field) {
    auto found = std::ranges::lower_bound(fields_, field, {}, &FieldValues::field);
    if (found == fields_.end() || found->field != field)
        found = fields_.insert(found, FieldValues{field, {}});
    return *found;
}

void FieldsData::erase(FieldNumber field) {
    std::erase_if(fields_, [field](const FieldValues& values) { return values.field == field; });
}

void FieldsData::trim() {
    for (FieldValues& values : fields_) {
        while (!values.items.empty() && values.items.back().empty()) values.items.pop_back();
    }
    std::erase_if(fields_, [](const FieldValues& values) { return values.items.empty(); });
}

RecordData RecordData::from(const RecordView& view) {
    RecordData data;
    readFields(view.head(), data.head);
    data.parts.resize(view.partCount());
    for (PartNumber part = 1; part <= view.partCount(); ++part)
        readFields(view.part(part), data.parts[part - 1]);
    return data;
}

FieldsData* RecordData::fields(PartNumber part) {
    if (part == 0) return &head;
    return part <= parts.size() ? &parts[part - 1] : nullptr;
}

void RecordData::trim() {
    head.trim();
    for (FieldsData& part : parts) part.trim();
}

Status checkImageSize(const RecordData& record, size_t more) {
    size_t size = kHeaderSize + record.parts.size() * kPartEntry + more;
    const auto add = [&](const FieldsData& fields) {
        for (const FieldValues& values : fields.fields()) {
            if (values.items.size() > kMaxItems) return false;
            size += kFieldEntry + itemsSize(values);
        }
        return size <= kMaxImage;
    };
    return add(record.head) && std::ranges::all_of(record.parts, add) ? WDB_OK : WDB_E_VALUE;
}

Result<std::string> encodeRecord(const RecordData& record, uint64_t commit) {
    const size_t table = kHeaderSize + record.head.fields().size() * kFieldEntry;
    size_t directory = table + record.parts.size() * kPartEntry;
    std::vector<Placed> placed;
    placeFields(record.head, kHeaderSize, placed);
    std::string image = makeHeader(0, record.head.fields().size(), commit, record.parts.size());
    image.resize(directory);
    for (size_t i = 0; i < record.parts.size(); ++i) {
        const size_t count = record.parts[i].fields().size();
        if (directory > kMaxImage) return WDB_E_VALUE;
        storeLittle(image.data() + table + i * kPartEntry, static_cast<uint32_t>(directory));
        storeLittle(image.data() + table + i * kPartEntry + 4, static_cast<uint16_t>(count));
        placeFields(record.parts[i], directory, placed);
        directory += count * kFieldEntry;
    }
    size_t size = directory;
    for (const Placed& field : placed) {
        if (field.values->items.size() > kMaxItems) return WDB_E_VALUE;
        size += field.size;
    }
    if (size > kMaxImage) return WDB_E_VALUE;
    image.resize(directory);
    image.reserve(size);
    for (const bool longOnes : {false, true}) {
        for (const Placed& field : placed) {
            if ((field.size >= kLongField) != longOnes) continue;
            char* entry = image.data() + field.entry;
            storeLittle(entry, field.values->field);
            storeLittle(entry + 2, static_cast<uint16_t>(field.values->items.size()));
            storeLittle(entry + 4, static_cast<uint32_t>(image.size()));
            appendItems(*field.values, image);
        }
    }
    sealImage(image);
    return image;
}

void sealImage(std::string& image) {
    storeLittle(image.data() + kChecksum, checksumOf(image));
}

std::string encodeTombstone(uint64_t commit) {
    std::string image = makeHeader(kTombstone, 0, commit, 0);
    sealImage(image);
    return image;
}

bool isTombstone(Slice image) {
    return image.size() >= kHeaderSize && (static_cast<uint8_t>(image[kFlags]) & kTombstone) != 0;
}

}  // namespace wdb
