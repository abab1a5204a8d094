#pragma once

#include "kernel/common/Status.h"
#include "kernel/index/Delta.h"
#include "kernel/storage/BaseFile.h"

namespace wdb {

// Reads what the queue says has happened since the delta was last fed, up to the position of the state that
// is read, and adds it. Nothing happens when the delta is already there.
Status feedDelta(Delta& delta, const BaseReader& reader, Position position);

}  // namespace wdb
