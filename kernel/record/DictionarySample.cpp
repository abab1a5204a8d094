#include "kernel/record/DictionarySample.h"

#include <algorithm>

#include <zdict.h>

#include "kernel/common/ByteOrder.h"
#include "kernel/record/PackedImage.h"

namespace wdb {

namespace {

constexpr size_t kDictionary = size_t{64} << 10;
constexpr size_t kHeader = 1024;  // room for the tables of codes that stand in front of the pieces
constexpr size_t kPiece = 128;
constexpr size_t kRun = 8;
constexpr unsigned kCountBits = 18;
constexpr size_t kForCodes = size_t{64} << 10;  // bytes of texts that the codes are taken from
constexpr size_t kMostOfText = size_t{64} << 10;

// How often a run of eight bytes stands in the sample, about: runs share counters.
class RunCounts {
public:
    explicit RunCounts(Slice texts) : texts_(texts), counts_(size_t{1} << kCountBits) {
        for (size_t at = 0; at + kRun <= texts.size(); ++at) ++counts_[slot(at)];
    }
    // What stands once in the sample is worth nothing.
    uint32_t worth(size_t at) const {
        const uint32_t count = counts_[slot(at)];
        return count > 1 ? count : 0;
    }
    void taken(size_t from) {
        for (size_t at = from; at + kRun <= from + kPiece; ++at) counts_[slot(at)] = 0;
    }

private:
    size_t slot(size_t at) const {
        return (loadLittle<uint64_t>(texts_.data() + at) * 0x9E3779B185EBCA87u) >> (64 - kCountBits);
    }
    Slice texts_;
    std::vector<uint32_t> counts_;
};

struct Piece {
    uint64_t worth = 0;
    size_t at = 0;
};

// The piece of the stretch whose runs are worth the most.
Piece bestPiece(const RunCounts& counts, size_t begin, size_t end) {
    constexpr size_t kRuns = kPiece - kRun;
    Piece best;
    uint64_t worth = 0;
    for (size_t at = begin; at < end; ++at) {
        worth += counts.worth(at);
        if (at < begin + kRuns) continue;
        if (worth > best.worth) best = {worth, at - kRuns};
        worth -= counts.worth(at - kRuns);
    }
    return best;
}

}  // namespace

void DictionarySample::add(Slice image) {
    const size_t begin = tailBegin(image);
    const Slice tail = image.substr(begin, kMostOfText);
    if (tail.empty()) return;
    texts_.append(tail);
    sizes_.push_back(tail.size());
}

std::string DictionarySample::pieces() const {
    RunCounts counts(texts_);
    const size_t stretches = (kDictionary - kHeader) / kPiece;
    const size_t length = texts_.size() / stretches;
    const size_t last = texts_.size() - kRun;
    std::vector<Piece> found;
    for (size_t i = 0; i < stretches; ++i) {
        const Piece piece = bestPiece(counts, i * length, std::min((i + 1) * length, last));
        if (piece.worth == 0) continue;
        counts.taken(piece.at);
        found.push_back(piece);
    }
    // The nearer to the end, the shorter the reference to it.
    std::ranges::stable_sort(found, {}, &Piece::worth);
    std::string joined;
    for (const Piece& piece : found) joined.append(texts_, piece.at, kPiece);
    return joined;
}

std::string DictionarySample::dictionary() const {
    if (bytes() < kLeast) return {};
    const std::string content = pieces();
    const size_t every = std::max<size_t>(1, bytes() / kForCodes);
    std::string texts;
    std::vector<size_t> sizes;
    size_t at = 0;
    for (size_t i = 0; i < sizes_.size(); at += sizes_[i++]) {
        if (i % every != 0) continue;
        texts.append(texts_, at, sizes_[i]);
        sizes.push_back(sizes_[i]);
    }
    std::string made(kDictionary, '\0');
    const size_t size =
        ZDICT_finalizeDictionary(made.data(), made.size(), content.data(), content.size(), texts.data(),
                                 sizes.data(), static_cast<unsigned>(sizes.size()), ZDICT_params_t{});
    made.resize(ZDICT_isError(size) ? 0 : size);
    return made;
}

}  // namespace wdb
