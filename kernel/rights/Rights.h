#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "kernel/catalog/BaseDefinition.h"
#include "kernel/catalog/SystemDirectory.h"

namespace wdb {

// What a user may do: the one place that decides. Every road to data asks it (docs/decisions,
// "rights-have-one-judge", lists the roads).
//
// A base's owner and administrators may do everything. Anybody else has what the base's access records give
// to the user's name and to PUBLIC: a read and a write right on all fields, and on single ones.
//
// Answers follow the catalogue: what another session, or process, grants or takes away counts from the next
// question on. What cannot be read gives no right. Belongs to one session, one thread at a time.
class Rights {
public:
    Rights(std::shared_ptr<SystemDirectory> directory, std::string user)
        : directory_(std::move(directory)), user_(std::move(user)) {}

    const std::string& user() const { return user_; }
    // The name under which the user owns bases; empty when there is no such user any more.
    std::string owner();
    bool administrator();
    // May make bases.
    bool mayCreate();
    // Has every right on a base: its owner, or an administrator.
    bool owns(const BaseDefinition& base) { return granted(base).everything; }
    // Some field of the base. Who may read none is told that there is no such base.
    bool mayRead(const BaseDefinition& base) { return granted(base).readsSome; }
    // The same for the base asked about before, whose definition is only made when it is another one.
    template <typename Define>
    bool mayRead(BaseId base, Define&& define) {
        makeCurrent();
        if (last_ != nullptr && lastBase_ == base) [[likely]]
            return last_->readsSome;
        return mayRead(*define());
    }
    bool mayRead(const BaseDefinition& base, FieldNumber field) {
        return (granted(base).on(field) & kRead) != 0;
    }
    // Some field.
    bool mayWrite(const BaseDefinition& base) { return granted(base).writesSome; }
    bool mayWrite(const BaseDefinition& base, FieldNumber field) {
        return (granted(base).on(field) & kWrite) != 0;
    }
    // Make and delete records: the right to write all fields.
    bool mayMakeRecords(const BaseDefinition& base) { return (granted(base).all & kWrite) != 0; }
    // Is there any right on the base at all?
    bool mayUse(const BaseDefinition& base) {
        const Granted& rights = granted(base);
        return rights.readsSome || rights.writesSome;
    }

    // As long as it stays the same, so do all answers.
    uint64_t state() {
        makeCurrent();
        return state_;
    }

private:
    static constexpr uint8_t kRead = 1, kWrite = 2;

    struct Granted {
        bool everything = false;
        bool readsSome = false;
        bool writesSome = false;
        uint8_t all = 0;                                    // on every field
        std::array<uint8_t, WDB_FIELD_NUMBER_MAX> field{};  // by number - 1, `all` included
        uint8_t on(FieldNumber number) const {
            return number >= 1 && number <= field.size() ? field[number - 1] : 0;
        }
        void addAll(uint8_t rights);
        void add(const WdbAccessRecord& record);
    };

    void makeCurrent();
    const Granted& granted(const BaseDefinition& base);
    Granted work(const BaseDefinition& base);

    std::shared_ptr<SystemDirectory> directory_;
    std::string user_;
    bool known_ = false;       // there is such a user
    uint32_t userRights_ = 0;  // WDB_USER_...
    uint64_t version_ = 1;     // of the catalogue, under which the rest was read; unsettled: none
    uint64_t state_ = 0;
    std::unordered_map<BaseId, Granted> bases_;
    BaseId lastBase_ = 0;  // asked about
    const Granted* last_ = nullptr;
};

}  // namespace wdb
