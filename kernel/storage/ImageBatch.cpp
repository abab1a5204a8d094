#include "kernel/storage/ImageBatch.h"

#include <new>

#include "kernel/record/PackedImage.h"

namespace wdb {

Status packBatch(const ImageBatch& images, const TailDictionary& dictionary, ImageBatch& packed) noexcept {
    try {
        std::string image;
        packed.clear();
        for (size_t place = 0; place < images.count(); ++place) {
            const Slice given = images.image(place);
            packed.add(images.number(place), packImage(given, dictionary, image) ? Slice(image) : given);
        }
        return WDB_OK;
    } catch (const std::bad_alloc&) {
        return WDB_E_MEMORY;
    }
}

}  // namespace wdb
