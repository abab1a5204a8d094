#include "kernel/storage/FreeSpace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "kernel/storage/MetaPage.h"
#include "kernel/storage/PageWalker.h"

namespace wdb {

namespace {

constexpr uint64_t kLeast = uint64_t{1} << 20;  // bytes that are worth the calls
constexpr uint64_t kPart = 8;                   // and the part of the file's space that they are
constexpr uint64_t kBlock = 512;                // of st_blocks

}  // namespace

void giveFreeSpaceBack(int file) {
    struct stat info {};
    std::array<MetaPage, 2> metas;
    std::vector<PageRun> runs;
    if (::fstat(file, &info) != 0) return;
    if (!readMetas(file, metas)) return;
    const uint64_t pages = std::max(metas[0].lastPage, metas[1].lastPage) + 1;
    const auto end = static_cast<off_t>(pages * metas[0].pageSize);
    if (info.st_size > end && (::ftruncate(file, end) != 0 || ::fstat(file, &info) != 0)) return;
    const uint64_t taken = static_cast<uint64_t>(info.st_blocks) * kBlock;
    if (taken < kLeast || !freePages(file, runs)) return;
    uint64_t free = 0;
    for (const PageRun& run : runs) free += run.count * metas[0].pageSize;
    const uint64_t needed = pages * metas[0].pageSize - std::min(free, pages * metas[0].pageSize);
    if (taken < needed + std::max(kLeast, taken / kPart)) return;
    for (const PageRun& run : runs) {
        if (::fallocate(file, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE,
                        static_cast<off_t>(run.first * metas[0].pageSize),
                        static_cast<off_t>(run.count * metas[0].pageSize)) != 0)
            return;
    }
}

}  // namespace wdb
