#pragma once

#include <cstdint>

#include "kernel/catalog/OpenBase.h"
#include "kernel/catalog/SystemDirectory.h"
#include "kernel/common/Status.h"

namespace wdb {

// Less is not worth a copy.
inline constexpr uint64_t kShrinkBytes = uint64_t{4} << 20;

// A merge writes most pages of an index file anew when its records lie everywhere, and leaves as many free
// ones behind. When these have come to `least` bytes and two fifths of the files, the files are copied in key
// order under new names, which a commit of the catalogue publishes; who reads the old files keeps them until
// he ends. Under the writer's lock.
Status shrinkIndexIfDue(SystemDirectory& directory, OpenBase& base, const WriterHold& hold,
                        uint64_t least = kShrinkBytes);

}  // namespace wdb
