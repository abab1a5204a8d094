#pragma once

namespace wdb {

// Takes the disk space from under the free pages of a storage file when it is much, so that a file that was
// changed all over takes no more room than its contents, and cuts off what a commit that was refused left
// behind its last page. Who needs a page again writes it whole, and gets new space for it. The caller is
// alone with the file, and its last state is on the disk. A file system that cannot do it keeps the space.
void giveFreeSpaceBack(int file);

}  // namespace wdb
