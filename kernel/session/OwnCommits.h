#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "kernel/common/Ids.h"

namespace wdb {

// Which commits of which bases were this session's: a record that they changed was not changed by another
// session. Ranges of neighbouring numbers; with very many the oldest are forgotten, which errs on the side of
// "another session".
class OwnCommits {
public:
    static constexpr size_t kMaxRanges = 1024;

    void add(BaseId base, uint64_t commit) {
        auto& ranges = bases_[base];
        if (!ranges.empty() && ranges.back().last + 1 == commit) {
            ranges.back().last = commit;
            return;
        }
        if (ranges.size() == kMaxRanges) ranges.erase(ranges.begin());
        ranges.push_back({commit, commit});
    }
    bool contains(BaseId base, uint64_t commit) const {
        const auto found = bases_.find(base);
        if (found == bases_.end()) return false;
        for (auto range = found->second.rbegin(); range != found->second.rend() && range->last >= commit;
             ++range) {
            if (range->first <= commit) return true;
        }
        return false;
    }

private:
    struct Range {
        uint64_t first;
        uint64_t last;
    };
    std::map<BaseId, std::vector<Range>> bases_;
};

}  // namespace wdb
