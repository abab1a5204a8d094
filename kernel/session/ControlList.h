#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kernel/catalog/BaseDefinition.h"
#include "kernel/session/RecordControl.h"

namespace wdb {

// The control list: the bases that the user had a right on when it was opened, by name, walked one by one.
// Entries appear as records with the PHRASE fields 44 name, 4 owner, 45 number of records and 46 comment.
class ControlList {
public:
    using Bases = std::vector<std::shared_ptr<const BaseDefinition>>;
    struct State {
        std::shared_ptr<const Bases> bases;  // null: no list was opened
        size_t next = 0;
    };

    // `first` and `last` are ordinals from 1; last 0: to the end.
    void open(Bases bases, uint64_t first, uint64_t last);
    // The next entry, null at the end.
    std::shared_ptr<const BaseDefinition> next();

    const State& state() const { return state_; }
    void restore(State state) { state_ = std::move(state); }

    // Handle of the control that stands for the present entry, 0 for none.
    uint64_t handle = 0;

private:
    State state_;
};

// Makes a control an entry of the list. `records`: as text, may be empty.
void fillListEntry(RecordControl& control, const BaseDefinition& base, std::string records);

}  // namespace wdb
