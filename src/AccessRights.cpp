#include "src/AccessRights.h"

namespace wsql {
namespace {

constexpr std::uint8_t kRead = 1;
constexpr std::uint8_t kWrite = 2;
constexpr std::uint8_t kKept = 16;  ///< survives in a column's byte whatever is taken

}  // namespace

void AccessRights::changeTable() {
    std::uint8_t& all = record_.baseRights;
    std::uint8_t& fieldwise = record_.fieldwise;
    if (grant_) {
        all |= single_ ? kRead : kRead | kWrite;
        fieldwise &= single_ ? kWrite : kRead;
    } else {
        all &= single_ ? kRead : 0;
        fieldwise &= single_ ? kRead : 0;
    }
}

void AccessRights::beginColumns() {
    const bool wrote = (record_.baseRights & kWrite) != 0;
    record_.baseRights &= single_ ? kWrite : kRead;
    record_.fieldwise |= single_ ? kRead : kWrite;
    if (grant_ && single_) {
        for (std::uint8_t& field : record_.field) {
            field = (field & kWrite) != 0 ? static_cast<std::uint8_t>(field | kRead) : std::uint8_t{0};
        }
    }
    if (!wrote) return;
    tableBits_ = kWrite;
    record_.baseRights = 0;
    record_.fieldwise |= kWrite;
}

void AccessRights::changeColumn(std::int32_t field) {
    std::uint8_t& rights = record_.field[field - 1];
    if (grant_) {
        rights |= static_cast<std::uint8_t>(tableBits_ | (single_ ? kRead : kRead | kWrite));
    } else {
        rights &= single_ ? kKept | kWrite : kKept | kRead;
    }
}

}  // namespace wsql
