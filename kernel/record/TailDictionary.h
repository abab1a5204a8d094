#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"

namespace wdb {

// What the long values of a base's records have in common, and the packing of texts against it (Zstandard).
// Immutable; safe to use from all threads, which share a few working memories.
class TailDictionary {
public:
    // The bytes as DictionarySample made them. WDB_E_CORRUPT when they are none.
    static Result<std::unique_ptr<const TailDictionary>> open(Slice bytes);
    TailDictionary(const TailDictionary&) = delete;
    TailDictionary& operator=(const TailDictionary&) = delete;
    ~TailDictionary();

    // The low half of XXH3-64 of the bytes, but never 0.
    static uint32_t idOf(Slice bytes);
    uint32_t id() const { return id_; }

    // Appends the packed text. False when it could not be packed; `out` is then as it was.
    bool pack(Slice text, std::string& out) const;
    // Appends the text, of at most `limit` bytes. False when the bytes are none that pack() made, or of a
    // longer text; nothing may be read from behind the old end of `out` then.
    bool unpack(Slice packed, size_t limit, std::string& out) const;

private:
    struct Codec;
    TailDictionary(uint32_t id, std::unique_ptr<Codec> codec);

    const uint32_t id_;
    const std::unique_ptr<Codec> codec_;
};

}  // namespace wdb
