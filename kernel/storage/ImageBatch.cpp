#include "kernel/storage/ImageBatch.h"

#include "kernel/common/Contained.h"
#include "kernel/record/PackedImage.h"

namespace wdb {

Status packBatch(const ImageBatch& images, const TailDictionary& dictionary, ImageBatch& packed) noexcept {
    return contained([&] {
        std::string image;
        packed.clear();
        for (size_t place = 0; place < images.count(); ++place) {
            const Slice given = images.image(place);
            packed.add(images.number(place), packImage(given, dictionary, image) ? Slice(image) : given);
        }
        return Status{WDB_OK};
    });
}

}  // namespace wdb
