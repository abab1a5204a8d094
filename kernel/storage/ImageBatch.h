#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/record/TailDictionary.h"

namespace wdb {

// Record images one behind the other, by ascending number.
class ImageBatch {
public:
    bool empty() const { return items_.empty(); }
    size_t count() const { return items_.size(); }
    size_t bytes() const { return bytes_.size(); }
    RecordNumber number(size_t place) const { return items_[place].number; }
    Slice image(size_t place) const {
        const size_t begin = place == 0 ? 0 : items_[place - 1].end;
        return Slice(bytes_).substr(begin, items_[place].end - begin);
    }
    void add(RecordNumber number, Slice image) {
        bytes_.append(image);
        items_.push_back({number, bytes_.size()});
    }
    void clear() {
        items_.clear();
        bytes_.clear();
    }

private:
    struct Item {
        RecordNumber number;
        size_t end;  // in bytes_; it begins where the one before ends
    };
    std::vector<Item> items_;
    std::string bytes_;
};

// Fills `packed` with the images as they are stored with a dictionary: packed where that spares enough.
// WDB_E_MEMORY.
Status packBatch(const ImageBatch& images, const TailDictionary& dictionary, ImageBatch& packed) noexcept;

}  // namespace wdb
