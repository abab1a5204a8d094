// Numbers that are the same on every machine, so that a seed names a run.
#pragma once

#include <cstdint>
#include <vector>

namespace differential {

/// SplitMix64 (Steele, Lea, Flood 2014).
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next() {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15U);
        z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
        z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
        return z ^ (z >> 31U);
    }
    /// 0 to limit - 1; limit is 1 or more.
    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(next() % limit); }
    int between(int low, int high) {
        const std::int64_t width = std::int64_t{high} - low + 1;
        return static_cast<int>(low + static_cast<std::int64_t>(below(static_cast<std::size_t>(width))));
    }
    bool percent(unsigned chance) { return below(100) < chance; }
    template <class T>
    const T& pick(const std::vector<T>& from) {
        return from[below(from.size())];
    }

private:
    std::uint64_t state_;
};

}  // namespace differential
