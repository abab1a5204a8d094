#include <algorithm>
#include <unordered_map>

#include "kernel/index/ColumnBlocks.h"
#include "kernel/index/IndexView.h"
#include "kernel/record/Value.h"

namespace wdb {

namespace {

constexpr uint32_t kBlockWords = kColumnRecords / 64;

void addValue(Tally& tally, int64_t value) {
    tally.sum += value;
    ++tally.values;
}

void addRow(Tally& tally, RecordNumber record) {
    if (tally.rows++ == 0) tally.first = record;
}

// One pass over ranks and column side by side, 64 records at a time. Ranks that are none go to `strangers`.
class TallyPass {
public:
    TallyPass(const Ranks* ranks, ColumnBlocks* column, std::vector<Tally>& tallies)
        : ranks_(ranks), column_(column), tallies_(tallies) {}

    Status add(const RecordSet& records) {
        for (size_t i = 0; i < records.chunkCount(); ++i) {
            WDB_TRY(add(uint32_t{records.chunkNumber(i)} * kBitmapWords, records.chunk(i)));
        }
        return WDB_OK;
    }
    const std::vector<RecordNumber>& strangers() const { return strangers_; }

private:
    Status add(uint32_t firstWord, const ContainerView& container) {
        if (container.kind == ContainerKind::Bitmap) {
            for (uint32_t w = 0; w < kBitmapWords; ++w) {
                if (const uint64_t bits = container.word(w); bits != 0) WDB_TRY(addWord(firstWord + w, bits));
            }
            return WDB_OK;
        }
        for (uint32_t i = 0; i < container.cardinality;) {
            const uint32_t word = container.at(i) / 64;
            uint64_t bits = 0;
            for (; i < container.cardinality && container.at(i) / 64 == word; ++i)
                bits |= uint64_t{1} << (container.at(i) % 64);
            WDB_TRY(addWord(firstWord + word, bits));
        }
        return WDB_OK;
    }

    Status addWord(uint32_t word, uint64_t bits) {
        if (column_ != nullptr && word / kBlockWords != block_) {
            block_ = word / kBlockWords;
            WDB_TRY(column_->open(block_, view_));
        }
        const RecordNumber first = word * 64;
        switch (view_ == nullptr ? 0 : view_->width()) {
            case 0:
                countRows(first, bits);
                break;
            case 1:
                addEntries<uint8_t>(first, bits);
                break;
            case 2:
                addEntries<uint16_t>(first, bits);
                break;
            case 4:
                addEntries<uint32_t>(first, bits);
                break;
            default:
                addEntries<uint64_t>(first, bits);
        }
        return WDB_OK;
    }

    template <typename Each>
    static void forBits(uint64_t bits, Each&& each) {
        if (bits == UINT64_MAX) {
            for (unsigned bit = 0; bit < 64; ++bit) each(bit);
            return;
        }
        for (; bits != 0; bits &= bits - 1) each(static_cast<unsigned>(std::countr_zero(bits)));
    }

    // Calls each(bit, tally) for the records whose group is known.
    template <typename Each>
    void forTallies(RecordNumber first, uint64_t bits, Each&& each) {
        Tally* const tallies = tallies_.data();
        const uint32_t groups = static_cast<uint32_t>(tallies_.size());
        if (ranks_ == nullptr || first + uint64_t{64} > ranks_->rankOf.size()) {
            forBits(bits, [&](unsigned bit) {
                const uint32_t rank = ranks_ == nullptr ? 0 : ranks_->of(first + bit);
                if (rank < groups)
                    each(bit, tallies[rank]);
                else
                    strangers_.push_back(first + bit);
            });
            return;
        }
        const uint32_t* const ranks = ranks_->rankOf.data() + first;
        forBits(bits, [&](unsigned bit) {
            const uint32_t rank = ranks[bit];
            if (rank < groups)
                each(bit, tallies[rank]);
            else
                strangers_.push_back(first + bit);
        });
    }

    void countRows(RecordNumber first, uint64_t bits) {
        forTallies(first, bits, [first](unsigned bit, Tally& tally) { addRow(tally, first + bit); });
    }

    template <typename Entry>
    void addEntries(RecordNumber first, uint64_t bits) {
        const char* const entries = view_->entries() + size_t{first % kColumnRecords} * sizeof(Entry);
        const uint64_t before = static_cast<uint64_t>(view_->base()) - 1;
        forTallies(first, bits, [=](unsigned bit, Tally& tally) {
            Entry entry;
            std::memcpy(&entry, entries + size_t{bit} * sizeof entry, sizeof entry);
            addRow(tally, first + bit);
            tally.sum += entry == 0 ? 0 : static_cast<int64_t>(before + entry);
            tally.values += entry != 0;
        });
    }

    const Ranks* ranks_;
    ColumnBlocks* column_;
    std::vector<Tally>& tallies_;
    std::vector<RecordNumber> strangers_;
    uint32_t block_ = UINT32_MAX;
    const ColumnView* view_ = nullptr;
};

// The tally that each of the records belongs to, by the places of their values; new values get new tallies.
Status placeStrangers(IndexView& view, FieldNumber group, std::span<const RecordNumber> records,
                      std::vector<uint32_t>& numbers, std::vector<Tally>& tallies) {
    numbers.assign(records.size(), 0);
    if (group == 0) return WDB_OK;
    std::vector<uint64_t> places;
    WDB_TRY(view.places(group, records, places));
    std::unordered_map<uint64_t, uint32_t> added;
    for (size_t i = 0; i < records.size(); ++i) {
        const uint32_t rank = IndexView::rankOfPlace(places[i]);
        numbers[i] = rank;
        if (rank != 0 || places[i] == 0) continue;
        const auto [at, fresh] = added.try_emplace(places[i], static_cast<uint32_t>(tallies.size()));
        if (fresh) tallies.emplace_back();
        numbers[i] = at->second;
    }
    return WDB_OK;
}

}  // namespace

Status IndexView::tally(FieldNumber group, FieldNumber values, const RecordSet& records,
                        std::vector<Tally>& tallies) {
    for (const FieldNumber field : {group, values}) {
        if (field == 0) continue;
        const Result<RecordSet> several = multi(field);
        if (!several) return several.status();
        if (!several->empty()) return WDB_FAIL;
    }
    std::shared_ptr<const Ranks> ranks;
    if (group != 0) {
        const auto made = this->ranks(group);
        if (!made) return made.status();
        ranks = *made;
    }
    RecordSet loose;  // what the value file does not tell
    impl_->forLayers(impl_->sources.valuePosition, [&](const Impl::Layer& layer) {
        loose.unite(layer.entries.touched(layer.after, layer.upTo));
    });
    tallies.assign(ranks ? ranks->count + size_t{1} : 1, {});
    std::optional<ColumnBlocks> column;
    if (values != 0) column.emplace(*impl_->sources.values, values);
    TallyPass pass(ranks.get(), column ? &*column : nullptr, tallies);
    std::vector<RecordNumber> strangers;
    if (loose.empty()) {
        WDB_TRY(pass.add(records));
    } else {
        WDB_TRY(pass.add(RecordSet::difference(records, loose)));
        strangers = RecordSet::intersection(records, loose).toVector();
    }
    strangers.insert(strangers.end(), pass.strangers().begin(), pass.strangers().end());
    std::vector<uint32_t> numbers;
    WDB_TRY(placeStrangers(*this, group, strangers, numbers, tallies));
    for (size_t i = 0; i < strangers.size(); ++i) {
        Tally& tally = tallies[numbers[i]];
        if (tally.rows++ == 0 || strangers[i] < tally.first) tally.first = strangers[i];
        if (values == 0) continue;
        const Result<RecordView> view = impl_->sources.records->record(strangers[i]);
        if (!view) return view.status();
        const Slice item = view->items(values).first();
        if (item.size() == sizeof(int64_t)) addValue(tally, decodeInteger(item));
    }
    std::erase_if(tallies, [](const Tally& tally) { return tally.rows == 0; });
    std::sort(tallies.begin(), tallies.end(),
              [](const Tally& a, const Tally& b) { return a.first < b.first; });
    return WDB_OK;
}

}  // namespace wdb
