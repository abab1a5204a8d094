#pragma once

#include "kernel/search/SearchContext.h"
#include "kernel/search/SearchSet.h"

namespace wdb {

// Are the values of the set's rows, or of some, those of the time when the set was made: groups, rows without
// duplicates, and unions of such rows?
bool fixesValues(const SearchSet& set);
// Makes room for the copies of such a set's records.
void prepareValues(SearchSet& set);
// Copies them and the records that the set has borrowed, once; the context's snapshots must still be those
// that the set was made from. What fails is what the rows answer from then on.
void keepValues(SearchSet& set, SearchContext& context) noexcept;

}  // namespace wdb
