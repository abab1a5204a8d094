#include "kernel/catalog/BaseSnapshot.h"

#include "kernel/catalog/IndexFiles.h"
#include "kernel/catalog/OpenBase.h"
#include "kernel/catalog/SessionUnit.h"

namespace wdb {

BaseSnapshot::~BaseSnapshot() = default;

uint64_t BaseSnapshot::commitNumber() const {
    return unit_ != nullptr ? unit_->writer->meta().commit : meta_.commit;
}

uint64_t BaseSnapshot::liveCount() const {
    return unit_ != nullptr ? unit_->writer->meta().liveCount : meta_.liveCount;
}

IndexView BaseSnapshot::index() const {
    IndexSources sources;
    sources.schema = definition_->schema;
    sources.words = &words_;
    sources.wordPosition = wordPosition_;
    sources.values = &values_;
    sources.valuePosition = valuePosition_;
    sources.delta = delta_;
    sources.position = meta_.position();
    sources.unit = unit_ != nullptr ? unit_->delta.get() : nullptr;
    sources.records = const_cast<BaseSnapshot*>(this);  // reads only
    sources.ranks = &base_->ranks();
    return IndexView(std::move(sources));
}

BaseReader BaseSnapshot::reader() const {
    return unit_ != nullptr ? BaseReader(*unit_->writer) : BaseReader(records_);
}

Result<RecordView> BaseSnapshot::record(RecordNumber number) const {
    const BaseReader reader = this->reader();
    const auto image = reader.image(number);
    if (!image) return image.status();
    return view(reader, number, *image);
}

Result<RecordView> BaseSnapshot::view(const BaseReader& reader, RecordNumber number, Slice image) const {
    const auto dictionary = reader.dictionaryFor(image);
    if (!dictionary) return dictionary.status();
    return base_->verified().view(number, image, meta_.liveCount, *dictionary);
}

void BaseSnapshot::images(std::span<const RecordNumber> numbers, std::span<Slice> images) const {
    for (const RecordNumber number : numbers) base_->verified().expect(number);
    reader().images(numbers, images);
}

Result<RecordView> BaseSnapshot::record(RecordNumber number, Slice image) const {
    return image.empty() ? record(number) : view(reader(), number, image);
}

Result<RecordView> BaseSnapshot::record(RecordNumber number) {
    return static_cast<const BaseSnapshot&>(*this).record(number);
}

}  // namespace wdb
