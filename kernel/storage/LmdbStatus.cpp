#include "kernel/storage/LmdbStatus.h"

#include <cerrno>

namespace wdb {

Status lmdbStatus(int code) {
    switch (code) {
        case MDB_SUCCESS:
            return WDB_OK;
        case MDB_NOTFOUND:
            return WDB_FAIL;
        case MDB_KEYEXIST:
            return WDB_E_EXISTS;
        case MDB_CORRUPTED:
        case MDB_PAGE_NOTFOUND:
        case MDB_VERSION_MISMATCH:
        case MDB_INVALID:
            return WDB_E_CORRUPT;
        case ENOMEM:
            return WDB_E_MEMORY;
        default:
            return WDB_E_STORAGE;
    }
}

}  // namespace wdb
