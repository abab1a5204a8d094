#include "src/tree/WELKFieldInfo.h"

namespace wsql {

WELKFieldInfo::WELKFieldInfo(std::string databaseName, std::string fieldName, uint32_t fieldNumber,
                             uint32_t fieldFlags, int32_t fieldType)
    : name(std::move(fieldName)),
      database(std::move(databaseName)),
      number(fieldNumber),
      flags(fieldFlags),
      type(fieldType),
      flag1((fieldFlags & 1) != 0),
      flag2((fieldFlags & 2) != 0),
      partField((fieldFlags & 4) != 0),
      nullable((fieldFlags & 16) != 0),
      flag8((fieldFlags & 8) != 0) {}

WELKFieldInfoList::~WELKFieldInfoList() {
    while (!fields_.empty()) fields_.pop_back();
}

const WELKFieldInfo* WELKFieldInfoList::Get(int32_t index) const {
    return index >= 0 && index < Count() ? &fields_[static_cast<size_t>(index)] : nullptr;
}

}  // namespace wsql
