#pragma once

#include <array>
#include <string>

#include "kernel/catalog/SystemDirectory.h"
#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/storage/Environment.h"

namespace wdb::catalog_layout {

// The tables of `system.mdb` (docs/formats/system-directory.md) and the forms of their values.
inline constexpr Table kBases = 0;     // folded name -> definition
inline constexpr Table kUsers = 1;     // folded name -> user record
inline constexpr Table kAccess = 2;    // base id, folded name of the user -> access record
inline constexpr Table kSettings = 3;  // folded name -> value
inline constexpr Table kFiles = 4;     // path of a file that no entry names -> nothing
inline constexpr Table kUnits = 5;     // records of units over several bases
inline constexpr Table kMeta = 6;
inline constexpr std::array kTables{TableSpec{"bases"},    TableSpec{"users"}, TableSpec{"access"},
                                    TableSpec{"settings"}, TableSpec{"files"}, TableSpec{"units"},
                                    TableSpec{"meta"}};

inline constexpr uint32_t kFormat = 1;
inline constexpr Slice kMetaKey = "system";

struct Meta {
    uint32_t format = kFormat;
    BaseId nextBase = 1;
    uint64_t version = 1;  // moves with every change
};

std::string encodeMeta(const Meta& meta);
// WDB_E_CORRUPT when it is missing or of another format.
Result<Meta> readMeta(const Txn& txn);

std::string encodeUser(const UserRecord& user);
Result<UserRecord> decodeUser(Slice bytes);

// Keys of access records begin with the base; the bytes of a record end with the last one that is not zero.
std::string accessKey(BaseId base, Slice name);
std::string encodeAccess(const WdbAccessRecord& record);
Result<WdbAccessRecord> decodeAccess(Slice bytes);
// Removes the access records of a base.
Status dropAccess(WriteTxn& txn, BaseId base);

// The lines NAME=value of a settings file; `#` begins a comment line.
std::map<std::string, std::string, std::less<>> parseSettings(Slice text);

}  // namespace wdb::catalog_layout
