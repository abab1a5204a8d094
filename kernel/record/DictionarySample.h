#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kernel/common/Ids.h"

namespace wdb {

// Texts of a base that tell what its texts have in common.
class DictionarySample {
public:
    static constexpr size_t kEnough = size_t{512} << 10;  // bytes; more make the dictionary hardly better
    static constexpr size_t kLeast = size_t{64} << 10;    // bytes; fewer say too little

    // Takes the long values of an unpacked image, if it has any.
    void add(Slice image);
    size_t bytes() const { return texts_.size(); }
    bool enough() const { return bytes() >= kEnough; }
    // For TailDictionary::open. Empty when the texts have too little in common, or are fewer than kLeast.
    // The pieces that hold the most frequent runs of eight bytes, one out of each stretch of the sample, as
    // in "Effective construction of relative Lempel-Ziv dictionaries" (Liao, Petri, Moffat, Wirth, 2016).
    std::string dictionary() const;

private:
    std::string pieces() const;

    std::string texts_;
    std::vector<size_t> sizes_;
};

}  // namespace wdb
