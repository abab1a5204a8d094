// What every statement has to know of its session, asked for at once.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace wsql {

/// Texts of the session as they were when the object was made. What it does not know (the kernel has no such
/// call, the session is watched, a text is long) has to be asked for by itself.
class SessionFacts {
public:
    enum Fact { kVersion, kLogLevel, kBlockNumber, kBlockSize, kSelectWord, kFieldsWord, kFactCount };

    SessionFacts();

    /// Empty when the session has no such text, nothing when that is not known.
    std::optional<std::string_view> text(Fact fact) const;
    /// The session's command word for a canonical name of three letters; nothing when that is not known.
    std::optional<std::string_view> word(std::string_view canonical) const;

private:
    static constexpr std::int32_t kRoom = 32;
    struct Text {
        std::int32_t length;  ///< -1: not known
        bool found;
        char bytes[kRoom];
    };
    std::array<Text, kFactCount> texts_;
};

}  // namespace wsql
