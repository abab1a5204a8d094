#pragma once

#include <fcntl.h>

namespace wdb {

// Locks (F_RDLCK, F_WRLCK) or unlocks (F_UNLCK) the first byte of a file without waiting. The lock is one of
// the open file, not of the process: other descriptors of this process neither share nor drop it. False when
// somebody else holds it, or with another errno.
inline bool setOpenFileLock(int file, short type) {
    struct flock region {};
    region.l_type = type;
    region.l_whence = SEEK_SET;
    region.l_len = 1;
    return ::fcntl(file, F_OFD_SETLK, &region) == 0;
}

// Whether others hold a lock of that byte, of either kind.
inline bool othersLockOpenFile(int file) {
    struct flock region {};
    region.l_type = F_WRLCK;
    region.l_whence = SEEK_SET;
    region.l_len = 1;
    return ::fcntl(file, F_OFD_GETLK, &region) == 0 && region.l_type != F_UNLCK;
}

}  // namespace wdb
