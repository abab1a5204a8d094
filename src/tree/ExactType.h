#pragma once

#include <type_traits>
#include <typeinfo>

namespace wsql {

/// The node when its class is T itself, not one derived from it; else null. For the class that comes up most:
/// a dynamic_cast costs many times as much.
template <class T, class Base>
T* exactly(Base* node) {
    // The complete object, which is where a T that inherits virtually begins.
    auto* complete = dynamic_cast<std::conditional_t<std::is_const_v<Base>, const void*, void*>>(node);
    return node != nullptr && typeid(*node) == typeid(T) ? static_cast<T*>(complete) : nullptr;
}

}  // namespace wsql
