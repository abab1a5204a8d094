#pragma once

#include <cstdint>
#include <stdexcept>

#include "src/tree/WSQLList.h"

namespace wsql {

/// The element at an index that the caller has counted; throws std::out_of_range for any other.
template <class T>
T& elementAt(const WSQLList<T*>& list, std::int32_t index) {
    T* element = list.Get(index);
    if (element == nullptr) throw std::out_of_range("list index");
    return *element;
}

}  // namespace wsql
