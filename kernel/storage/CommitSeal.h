#pragma once

#include <cstdint>
#include <mutex>

#include "kernel/common/Status.h"

namespace wdb {

// Makes a commit durable with one sync. The storage library writes the pages of a state and the meta page
// that names it without a sync between; the seal, which lies in the same meta page behind the library's
// bytes, has a checksum of the pages. After a loss of power a state whose checksum does not hold was never
// acknowledged, and the state before it, of which nothing was written over, is put in force again.
//
// That needs: no commit before the last state is durable. Until its commit a transaction writes only pages
// that neither the last state nor the one before it has.
class CommitSeal {
public:
    // `file` is open for writing and stays the caller's.
    explicit CommitSeal(int file) : file_(file) {}

    // To be called when a write transaction has begun that is to follow state `txn`, before it writes: makes
    // that state durable, whoever committed it. WDB_E_STORAGE when the disk refuses, and nothing may be
    // written.
    Status prepare(uint64_t txn);
    // State `txn` was committed: durable with WDB_OK. Else it is in force as long as the machine runs, but no
    // transaction can follow it before prepare() has brought it to the disk.
    Status seal(uint64_t txn);

private:
    const int file_;
    std::mutex mutex_;
    uint64_t durable_ = 0;  // the last state that is known to be on the disk
};

// For the one process that uses the file, before the storage library opens it. Puts the last whole state in
// force, when the newest one is not whole. WDB_E_CORRUPT when there is no state before it, WDB_E_STORAGE.
// Meta pages that are damaged are left to the walk.
Status recoverLastState(int file);

// For the last process that used the file, after the storage library has closed it: brings the newest state
// to the disk if that is not certain and notes that it is there, so that damage is not taken for a loss of
// power. Whether it is.
bool noteDurable(int file);

}  // namespace wdb
