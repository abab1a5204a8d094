// A typed list of pointers to tree objects; a tree node itself, so that a list can stand wherever a node can.
#pragma once

#include <cstdint>

#include "src/support/WfxPtrList.h"
#include "src/tree/WSQLComposite.h"

namespace wsql {

template <typename Pointer>
class WSQLList;

// Does not own its elements: the node that owns the list deletes them. Zero-based; Get outside the list is
// null. The pointers are kept as they were given, so an element comes back as exactly the type T that went
// in.
template <typename T>
class WSQLList<T*> : public virtual WSQLComposite {
public:
    WSQLList() = default;
    ~WSQLList() override = default;

    void Add(T* item) { items_.Add(item); }
    void Insert(std::int32_t index, T* item) { items_.Insert(index, item); }
    void Remove(std::int32_t index) { items_.Remove(index); }
    void Set(std::int32_t index, T* item) { items_.Set(index, item); }
    T* Get(std::int32_t index) const { return static_cast<T*>(items_.Get(index)); }
    std::int32_t Count() const { return items_.Count(); }

private:
    WfxPtrList items_;
};

}  // namespace wsql
