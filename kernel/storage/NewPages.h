#pragma once

#include <cstdint>
#include <vector>

#include "kernel/storage/MetaPage.h"

namespace wdb {

// Pages that lie one behind the other.
struct PageRun {
    uint64_t first = 0;
    uint64_t count = 0;
};

// The pages that the trees of `now` reach and those of `before` do not, which is what the transaction between
// them wrote, since a page of a state is never written over while the next state is made. Time and memory go
// with the number of these pages, not with the size of the file. False when a page on the way is none, as
// when the state never came to the disk whole, or cannot be read.
bool newPages(int file, const MetaPage& before, const MetaPage& now, std::vector<PageRun>& runs);

}  // namespace wdb
