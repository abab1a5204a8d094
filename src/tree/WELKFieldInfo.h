#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace wsql {

/// One field of one database as the kernel describes it.
class WELKFieldInfo {
public:
    WELKFieldInfo(std::string databaseName, std::string fieldName, uint32_t fieldNumber, uint32_t fieldFlags,
                  int32_t fieldType);
    WELKFieldInfo(const WELKFieldInfo&) = default;
    WELKFieldInfo& operator=(const WELKFieldInfo&) = default;
    WELKFieldInfo(WELKFieldInfo&&) = default;
    WELKFieldInfo& operator=(WELKFieldInfo&&) = default;
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
/// first; a field stays where it is once the list is complete.
class WELKFieldInfoList {
public:
    WELKFieldInfoList() = default;
    /// With room for so many fields.
    explicit WELKFieldInfoList(int32_t expected) { fields_.reserve(static_cast<size_t>(expected)); }
    WELKFieldInfoList(const WELKFieldInfoList&) = delete;
    WELKFieldInfoList& operator=(const WELKFieldInfoList&) = delete;
    ~WELKFieldInfoList();

    /// Adds the field that these make, where it stays until the next one is added.
    WELKFieldInfo& Add(const std::string& databaseName, std::string_view fieldName, uint32_t fieldNumber,
                       uint32_t fieldFlags, int32_t fieldType) {
        return fields_.emplace_back(databaseName, std::string(fieldName), fieldNumber, fieldFlags, fieldType);
    }
    int32_t Count() const { return static_cast<int32_t>(fields_.size()); }
    /// Null when the 0-based index is out of range.
    const WELKFieldInfo* Get(int32_t index) const;

private:
    std::vector<WELKFieldInfo> fields_;
};

}  // namespace wsql
