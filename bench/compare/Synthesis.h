#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "bench/compare/Package.h"

namespace compare {

// Makes packages out of those of a catalogue: descriptions are runs of 4 to 14 words cut from real ones, so
// that words and their neighbours are as frequent as there; their lengths, sections, sizes and the beginnings
// of the names are drawn from the catalogue too. The same seed makes the same packages.
class Synthesis {
public:
    // The catalogue stays the caller's and must not be empty.
    Synthesis(const std::vector<Package>& catalogue, uint64_t seed);

    // Package number n, from 0; called for each number once, in order. Targets are packages before this one.
    Package make(uint64_t n);

private:
    size_t below(size_t limit) { return static_cast<size_t>(random_() % limit); }
    const Package& any() { return catalogue_[below(catalogue_.size())]; }
    std::string name(uint64_t n) const;
    std::string description();

    const std::vector<Package>& catalogue_;
    std::mt19937_64 random_;
    uint64_t seed_;
};

}  // namespace compare
