#pragma once

#include "kernel/index/IndexView.h"
#include "kernel/search/SearchContext.h"

namespace wdb {

// The state of one base that a command works on, for the length of one call.
struct BaseState {
    BaseState(SearchContext& searchContext, const BaseSnapshot& baseSnapshot)
        : context(searchContext), snapshot(baseSnapshot), index(baseSnapshot.index()) {}

    SearchContext& context;
    const BaseSnapshot& snapshot;
    IndexView index;

    // A field of the base that the user may read, else null.
    const FieldDefinition* readable(Slice name) const {
        const FieldDefinition* field = snapshot.schema().find(name);
        return field != nullptr && context.mayRead(snapshot.definition(), field->number) ? field : nullptr;
    }
};

}  // namespace wdb
