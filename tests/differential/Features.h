// What the generator may draw. A feature that the engine has not got yet, or where it answers otherwise than
// it should, is off with the reason beside it; switching it on is all that has to be done when that is
// mended.
#pragma once

namespace differential {

enum class Feature {
    kOpenTextOrder,    ///< LONG VARCHAR < '%': nothing stands in front of the wildcard
    kOpenRecordRange,  ///< R BETWEEN NULL AND 5
    kArithmetic,       ///< columns in arithmetic
    kDistinct,
    kDistinctText,  ///< LONG VARCHAR among the columns
    kAggregate,     ///< without GROUP BY
    kGroup,
    kJoin,
    kSubquery,
    kUnion
};

struct FeatureSwitch {
    Feature feature;
    bool on;
    const char* reason;  ///< why it is off
};

constexpr FeatureSwitch kFeatures[] = {
    {Feature::kOpenTextOrder, true, ""}, {Feature::kOpenRecordRange, true, ""},
    {Feature::kArithmetic, true, ""},    {Feature::kDistinct, true, ""},
    {Feature::kDistinctText, true, ""},  {Feature::kAggregate, true, ""},
    {Feature::kGroup, true, ""},         {Feature::kJoin, true, ""},
    {Feature::kSubquery, true, ""},      {Feature::kUnion, true, ""},
};

constexpr bool has(Feature feature) {
    for (const FeatureSwitch& entry : kFeatures) {
        if (entry.feature == feature) return entry.on;
    }
    return false;
}

}  // namespace differential
