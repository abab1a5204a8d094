#pragma once

#include <string>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/record/TailDictionary.h"

namespace wdb {

// Record images whose long values are packed; docs/formats/record-image.md has the layout.

// Where the long values of an unpacked image begin; its size when it has none, or is no valid image.
size_t tailBegin(Slice image);
bool isPacked(Slice image);
// Id of the dictionary that a packed image was packed against; 0 when it is too short to be one.
uint32_t dictionaryOf(Slice packed);
// Puts the same record packed into `packed`; false when that would spare too little. The image is a valid
// unpacked one. `before`: the image that it replaces, as stored, or nothing; long values that are the same
// in both are taken from it as they are, which is sooner done than packing them.
bool packImage(Slice image, const TailDictionary& dictionary, std::string& packed, Slice before = {});
// The image that was packed, checksum and all; its own checksum is not looked at. WDB_E_CORRUPT when it is no
// packed image of this dictionary, or what it holds is no image.
Status unpackImage(Slice packed, const TailDictionary& dictionary, std::string& image);

}  // namespace wdb
