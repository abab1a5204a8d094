#include "kernel/session/CurrentRecord.h"

#include <algorithm>

namespace wdb {

void CurrentRecord::dropContent() {
    image_.clear();
    view_ = RecordView();
    data_.reset();
    objects_.clear();
}

void CurrentRecord::clear() {
    if (!any_) return;
    dropContent();
    any_ = false;
    number_ = 0;
    version_ = 0;
    ++epoch_;
}

void CurrentRecord::release() {
    clear();
    std::string().swap(image_);
    std::vector<Object>().swap(objects_);
}

void CurrentRecord::makeNew() {
    clear();
    any_ = true;
    data_.emplace();
    ++epoch_;
}

void CurrentRecord::load(RecordNumber number, const RecordView& view, uint64_t version) {
    dropContent();
    any_ = true;
    number_ = number;
    version_ = version;
    ++epoch_;
    image_.assign(view.image());
    view_ = RecordView::trusted(image_);
}

void CurrentRecord::stored(RecordNumber number, std::string image, uint64_t commit) {
    dropContent();
    number_ = number;
    version_ = commit;
    image_ = std::move(image);
    view_ = RecordView::trusted(image_);  // valid as it came from the encoder
}

const FieldsData* CurrentRecord::decoded(PartNumber part) const {
    if (part == 0) return &data_->head;
    return part <= data_->parts.size() ? &data_->parts[part - 1] : nullptr;
}

PartNumber CurrentRecord::partCount() const {
    if (!any_) return 0;
    return data_ ? static_cast<PartNumber>(data_->parts.size()) : view_.partCount();
}

PartNumber CurrentRecord::addPart() {
    data().parts.emplace_back();
    return static_cast<PartNumber>(data_->parts.size());
}

void CurrentRecord::removePart(PartNumber part) {
    auto& parts = data().parts;
    parts.erase(parts.begin() + static_cast<ptrdiff_t>(part) - 1);
    std::erase_if(objects_, [&](const Object& object) { return object.part == part; });
    for (Object& object : objects_) {
        if (object.part > part) --object.part;
    }
}

uint32_t CurrentRecord::itemCount(PartNumber part, FieldNumber field) const {
    if (!any_) return 0;
    if (!data_) return view_.items(part, field).size();
    const FieldsData* fields = decoded(part);
    const FieldValues* values = fields == nullptr ? nullptr : fields->find(field);
    if (values == nullptr) return 0;
    size_t count = values->items.size();
    while (count > 0 && values->items[count - 1].empty()) --count;
    return static_cast<uint32_t>(count);
}

Slice CurrentRecord::item(PartNumber part, FieldNumber field, uint32_t position) const {
    if (!any_) return {};
    if (!data_) return view_.items(part, field).at(position);
    const FieldsData* fields = decoded(part);
    const FieldValues* values = fields == nullptr ? nullptr : fields->find(field);
    return values == nullptr || position == 0 || position > values->items.size()
               ? Slice()
               : Slice(values->items[position - 1]);
}

RecordData& CurrentRecord::data() {
    if (!data_) {
        data_ = RecordData::from(view_);
        view_ = RecordView();
        image_.clear();
    }
    return *data_;
}

FieldValues& CurrentRecord::change(PartNumber part, FieldNumber field) {
    FieldsData* fields = data().fields(part);
    return (fields == nullptr ? data_->head : *fields).at(field);
}

ObjectSpool& CurrentRecord::startObject(PartNumber part, FieldNumber field) {
    dropObject(part, field);
    objects_.push_back({part, field, {}});
    return objects_.back().bytes;
}

ObjectSpool* CurrentRecord::pendingObject(PartNumber part, FieldNumber field) {
    const auto found =
        std::ranges::find_if(objects_, [&](const Object& o) { return o.part == part && o.field == field; });
    return found == objects_.end() ? nullptr : &found->bytes;
}

const ObjectSpool* CurrentRecord::pendingObject(PartNumber part, FieldNumber field) const {
    const auto found =
        std::ranges::find_if(objects_, [&](const Object& o) { return o.part == part && o.field == field; });
    return found == objects_.end() ? nullptr : &found->bytes;
}

void CurrentRecord::dropObject(PartNumber part, FieldNumber field) {
    std::erase_if(objects_, [&](const Object& o) { return o.part == part && o.field == field; });
}

std::vector<PendingObject> CurrentRecord::pendingObjects() const {
    std::vector<PendingObject> pending;
    for (const Object& object : objects_) pending.push_back({object.part, object.field, &object.bytes});
    return pending;
}

}  // namespace wdb
