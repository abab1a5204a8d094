#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace wsql {

/// One field of one database as the kernel describes it.
class WELKFieldInfo {
public:
    WELKFieldInfo(std::string databaseName, std::string fieldName, uint32_t fieldNumber, uint32_t fieldFlags,
                  int32_t fieldType);
    virtual ~WELKFieldInfo() = default;

    std::string name;
    std::string database;
    uint32_t number;  ///< 1-based
    uint32_t flags;   ///< as the kernel returned them
    int32_t type;     ///< kernel field type code
    bool flag1;
    bool flag2;
    bool partField;  ///< flag 4: the field lives in the part records
    bool nullable;   ///< flag 16
    bool flag8;
    bool primaryKey = false;
};

/// The fields of one table in field-number order, gaps left out. Owns its elements and deletes them last
/// first.
class WELKFieldInfoList {
public:
    WELKFieldInfoList() = default;
    WELKFieldInfoList(const WELKFieldInfoList&) = delete;
    WELKFieldInfoList& operator=(const WELKFieldInfoList&) = delete;
    ~WELKFieldInfoList();

    void Add(std::unique_ptr<WELKFieldInfo> field) { fields_.push_back(std::move(field)); }
    int32_t Count() const { return static_cast<int32_t>(fields_.size()); }
    /// Null when the 0-based index is out of range.
    const WELKFieldInfo* Get(int32_t index) const;

private:
    std::vector<std::unique_ptr<WELKFieldInfo>> fields_;
};

}  // namespace wsql
