#include "kernel/catalog/CatalogLayout.h"

#include <cstring>

#include "kernel/common/ByteOrder.h"
#include "kernel/common/ByteReader.h"

namespace wdb::catalog_layout {

std::string encodeMeta(const Meta& meta) {
    std::string bytes;
    appendLittle(bytes, meta.format);
    appendLittle(bytes, meta.nextBase);
    appendLittle(bytes, meta.version);
    return bytes;
}

Result<Meta> readMeta(const Txn& txn) {
    Slice bytes;
    const Status status = txn.get(kMeta, kMetaKey, bytes);
    if (!ok(status)) return status == WDB_FAIL ? Status{WDB_E_CORRUPT} : status;
    ByteReader in(bytes);
    Meta meta;
    meta.format = in.number<uint32_t>();
    meta.nextBase = in.number<uint32_t>();
    meta.version = in.number<uint64_t>();
    if (!in.atEnd() || meta.format != kFormat) return Status{WDB_E_CORRUPT};
    return meta;
}

std::string encodeUser(const UserRecord& user) {
    std::string bytes;
    appendText(bytes, user.name);
    appendText(bytes, user.passwordHash);
    appendLittle(bytes, user.rights);
    return bytes;
}

Result<UserRecord> decodeUser(Slice bytes) {
    ByteReader in(bytes);
    UserRecord user;
    user.name = in.text();
    user.passwordHash = in.text();
    user.rights = in.number<uint32_t>();
    if (!in.atEnd()) return Status{WDB_E_CORRUPT};
    return user;
}

std::string accessKey(BaseId base, Slice name) {
    std::string key;
    appendBig(key, base);
    return key.append(foldName(name));
}

std::string encodeAccess(const WdbAccessRecord& record) {
    std::string bytes(sizeof record, '\0');
    std::memcpy(bytes.data(), &record, sizeof record);
    bytes.resize(bytes.find_last_not_of('\0') + 1);
    return bytes;
}

Result<WdbAccessRecord> decodeAccess(Slice bytes) {
    WdbAccessRecord record{};
    if (bytes.size() > sizeof record) return Status{WDB_E_CORRUPT};
    std::memcpy(&record, bytes.data(), bytes.size());
    return record;
}

Status dropAccess(WriteTxn& txn, BaseId base) {
    const std::string prefix = accessKey(base, {});
    Cursor cursor = txn.cursor(kAccess);
    Status status = cursor.seek(prefix);
    while (ok(status) && cursor.key().starts_with(prefix)) {
        WDB_TRY(cursor.remove());
        status = cursor.next();
    }
    return status == WDB_FAIL ? WDB_OK : status;
}

std::map<std::string, std::string, std::less<>> parseSettings(Slice text) {
    constexpr Slice kBlanks = " \t\r";
    const auto trim = [&](Slice part) {
        const size_t begin = part.find_first_not_of(kBlanks);
        if (begin == Slice::npos) return Slice();
        return part.substr(begin, part.find_last_not_of(kBlanks) - begin + 1);
    };
    std::map<std::string, std::string, std::less<>> settings;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        const Slice line = trim(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        const size_t equals = line.find('=');
        if (line.empty() || line.front() == '#' || equals == Slice::npos || equals == 0) continue;
        settings.insert_or_assign(foldName(trim(line.substr(0, equals))),
                                  std::string(trim(line.substr(equals + 1))));
    }
    return settings;
}

}  // namespace wdb::catalog_layout
