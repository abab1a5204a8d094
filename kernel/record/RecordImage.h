#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kernel/common/ByteOrder.h"
#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"

namespace wdb {

class TailDictionary;

// A stored record as bytes; docs/formats/record-image.md has the layout. Little endian.
namespace record_image {
inline constexpr uint8_t kVersion = 1;
inline constexpr uint8_t kPackedVersion = 2;  // the long values are packed
inline constexpr uint8_t kTombstone = 1;      // flag: the record is deleted
inline constexpr size_t kChecksum = 0;        // u32: low half of XXH3-64 over everything behind it
inline constexpr size_t kVersionAt = 4;       // u8
inline constexpr size_t kFlags = 5;           // u8
inline constexpr size_t kFieldCount = 6;      // u16
inline constexpr size_t kCommit = 8;          // u64
inline constexpr size_t kPartCount = 16;      // u32
inline constexpr size_t kHeaderSize = 20;
inline constexpr size_t kFieldEntry = 8;    // u16 field, u16 items, u32 offset from the start of the image
inline constexpr size_t kPartEntry = 8;     // u32 offset of the part's directory, u16 fields, u16 zero
inline constexpr size_t kMaxItems = 65535;  // of a field
inline constexpr size_t kLongField =
    128;  // bytes of a field's items from which they stand behind the short ones
inline constexpr size_t kTrailerSize =
    6;  // of a packed image: u32 dictionary, u16 where the long values begin
}  // namespace record_image

// The items of one field in an image: canonical values, empty ones in gaps. Iterates without allocating.
class ItemList {
public:
    class Iterator {
    public:
        using value_type = Slice;
        using difference_type = ptrdiff_t;
        Iterator() = default;
        Iterator(const char* at, uint32_t left) : at_(at), left_(left) { read(); }
        Slice operator*() const { return item_; }
        Iterator& operator++() {
            at_ = item_.data() + item_.size();
            --left_;
            read();
            return *this;
        }
        void operator++(int) { ++*this; }
        bool operator==(const Iterator& other) const { return left_ == other.left_; }

    private:
        void read() {
            if (left_ == 0) return;
            const auto first = static_cast<unsigned char>(*at_);
            if (first != 255)
                item_ = Slice(at_ + 1, first);
            else
                item_ = Slice(at_ + 5, loadLittle<uint32_t>(at_ + 1));
        }
        const char* at_ = nullptr;
        uint32_t left_ = 0;
        Slice item_;
    };

    ItemList() = default;
    ItemList(const char* data, uint32_t count) : data_(data), count_(count) {}
    uint32_t size() const { return count_; }  // the last item is not empty
    bool empty() const { return count_ == 0; }
    Iterator begin() const { return Iterator(data_, count_); }
    Iterator end() const { return Iterator(nullptr, 0); }
    // The item at a position from 1, empty behind the end.
    Slice at(uint32_t position) const;
    Slice first() const { return at(1); }

private:
    const char* data_ = nullptr;
    uint32_t count_ = 0;
};

class RecordView;

// The fields of a head record or of a part in an image. It borrows the view, which stays where it is.
class FieldsView {
public:
    FieldsView() = default;
    FieldsView(const RecordView& view, size_t directory, uint16_t count)
        : view_(&view), directory_(directory), count_(count) {}

    size_t size() const { return count_; }
    // By place in the directory, which is sorted by field number.
    FieldNumber field(size_t place) const { return loadLittle<uint16_t>(entry(place)); }
    inline ItemList itemsAt(size_t place) const;
    // The items of a field; none for a field without a value.
    ItemList items(FieldNumber field) const;

private:
    inline const char* entry(size_t place) const;

    const RecordView* view_ = nullptr;
    size_t directory_ = 0;
    uint16_t count_ = 0;
};

// A validated image. It borrows the bytes; the long values of a packed one it unpacks when they are first
// asked for, and owns them then, together with the copies made of it after that. So what its accessors hand
// out lives as long as both the bytes and the view. Used by one thread at a time.
class RecordView {
public:
    RecordView() = default;
    // Checks version, checksum and that every offset and length lies inside: WDB_E_CORRUPT. Whether values
    // fit their types is not looked at (isCanonical). A tombstone is a valid view without fields. A packed
    // image needs its dictionary, which outlives the view; what is packed is checked when it is unpacked:
    // then an accessor throws StatusError with WDB_E_CORRUPT.
    static Result<RecordView> validate(Slice image, const TailDictionary* dictionary = nullptr);
    // The same without the checksum, of an image that passed it before: whatever became of it since, reading
    // stays inside.
    static Result<RecordView> validateShape(Slice image, const TailDictionary* dictionary = nullptr);
    // As stored; nothing was checked but that there is one.
    static uint32_t checksum(Slice image) {
        return image.size() < record_image::kHeaderSize
                   ? 0
                   : loadLittle<uint32_t>(image.data() + record_image::kChecksum);
    }

    bool deleted() const {
        return (static_cast<uint8_t>(image_[record_image::kFlags]) & record_image::kTombstone) != 0;
    }
    uint64_t commit() const { return loadLittle<uint64_t>(image_.data() + record_image::kCommit); }
    uint32_t partCount() const { return loadLittle<uint32_t>(image_.data() + record_image::kPartCount); }
    FieldsView head() const {
        return {*this, record_image::kHeaderSize,
                loadLittle<uint16_t>(image_.data() + record_image::kFieldCount)};
    }
    // Parts from 1; without fields for a part that is not there.
    FieldsView part(PartNumber number) const;
    ItemList items(FieldNumber field) const { return head().items(field); }
    // 0 is the head.
    ItemList items(PartNumber part, FieldNumber field) const {
        return part == 0 ? items(field) : this->part(part).items(field);
    }
    // The unpacked image.
    Slice image() const { return dictionary_ == nullptr ? image_ : Slice(unpacked()); }
    // A view of bytes that are known to be valid and not packed: a copy of image(), or what the encoder just
    // made.
    static RecordView trusted(Slice image) { return RecordView(image); }

private:
    friend class FieldsView;
    explicit RecordView(Slice image) : image_(image), front_(image.size()) {}
    RecordView(Slice image, size_t front, const TailDictionary& dictionary)
        : image_(image), front_(front), dictionary_(&dictionary) {}
    const std::string& unpacked() const;

    Slice image_;
    size_t front_ = 0;                            // offsets below it are of bytes that are not packed
    const TailDictionary* dictionary_ = nullptr;  // of a packed image
    mutable std::shared_ptr<const std::string> unpacked_;
};

inline const char* FieldsView::entry(size_t place) const {
    return view_->image_.data() + directory_ + place * record_image::kFieldEntry;
}

inline ItemList FieldsView::itemsAt(size_t place) const {
    const char* at = entry(place);
    const size_t offset = loadLittle<uint32_t>(at + 4);
    const char* bytes = offset < view_->front_ ? view_->image_.data() : view_->unpacked().data();
    return {bytes + offset, loadLittle<uint16_t>(at + 2)};
}

// The values of one field.
struct FieldValues {
    FieldNumber field = 0;
    std::vector<std::string> items;  // canonical; empty ones are gaps
};

// The fields of a head record or of a part, to be changed.
class FieldsData {
public:
    const std::vector<FieldValues>& fields() const {
        return fields_;
    }  // by ascending number; some may have no value
    // Null when the field was never touched.
    const FieldValues* find(FieldNumber field) const;
    FieldValues& at(FieldNumber field);  // made when missing
    void erase(FieldNumber field);
    // Drops empty items at the end of every field, and fields without items.
    void trim();

private:
    std::vector<FieldValues> fields_;
};

// A record that is being made or changed.
struct RecordData {
    FieldsData head;
    std::vector<FieldsData> parts;

    static RecordData from(const RecordView& view);
    // Null for a part that is not there; 0 is the head.
    FieldsData* fields(PartNumber part);
    void trim();
};

// The image of a record as it is (call trim() first). WDB_E_VALUE when a field has more than kMaxItems items
// or the image passes 2 GiB.
Result<std::string> encodeRecord(const RecordData& record, uint64_t commit);
// WDB_E_VALUE for a record that encodeRecord() would refuse with `more` bytes beside its values.
Status checkImageSize(const RecordData& record, size_t more);
// Writes the checksum of an image that is otherwise complete.
void sealImage(std::string& image);
// The image that a deleted record leaves.
std::string encodeTombstone(uint64_t commit);
// Whether an image that has not been validated is a tombstone.
bool isTombstone(Slice image);

}  // namespace wdb
