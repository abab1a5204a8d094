#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "src/tree/WSQLComposite.h"
#include "src/tree/WSQLList.h"

namespace wsql {

/// The list as a parent node owns it: a plain `WSQLList` never deletes its elements, this one deletes them,
/// last first.
template <class T>
class NodeList : public WSQLList<T*> {
public:
    NodeList() = default;
    ~NodeList() override {
        for (int32_t i = this->Count() - 1; i >= 0; --i) delete this->Get(i);
    }

    /// The element at `index`, which is below Count(): the list holds no null.
    T& at(int32_t index) const {
        T* node = this->Get(index);
        if (node == nullptr) __builtin_trap();
        return *node;
    }

    class Iterator {
    public:
        Iterator(const NodeList& list, int32_t index) : list_(list), index_(index) {}
        T& operator*() const { return list_.at(index_); }
        Iterator& operator++() {
            ++index_;
            return *this;
        }
        bool operator!=(const Iterator& other) const { return index_ != other.index_; }

    private:
        const NodeList& list_;
        int32_t index_;
    };
    Iterator begin() const { return {*this, 0}; }
    Iterator end() const { return {*this, this->Count()}; }

    /// Appends the node; on an exception the node is deleted.
    void append(std::unique_ptr<T> node) {
        this->Add(node.get());
        node.release();
    }

    /// Inserts before `index` (0-based).
    void insert(int32_t index, std::unique_ptr<T> node) {
        this->Insert(index, node.get());
        node.release();
    }

    /// Takes the element out of the list; the caller owns it. Null when the index is out of range.
    std::unique_ptr<T> take(int32_t index) {
        std::unique_ptr<T> node(this->Get(index));
        this->Remove(index);
        return node;
    }

    /// Deletes the element at `index` and puts `node` into its place.
    void replace(int32_t index, std::unique_ptr<T> node) {
        std::unique_ptr<T> old(this->Get(index));
        if (old) this->Set(index, node.release());
    }
};

template <class T>
using OwnedList = std::unique_ptr<NodeList<T>>;

/// Number of elements; 0 for a list that is absent.
template <class T>
int32_t count(const OwnedList<T>& list) {
    return list ? list->Count() : 0;
}

/// Deep copy by the elements' `clone`; an absent list stays absent.
template <class T>
OwnedList<T> cloneList(const OwnedList<T>& list) {
    if (!list) return nullptr;
    auto copy = std::make_unique<NodeList<T>>();
    for (const T& node : *list) copy->append(node.clone());
    return copy;
}

}  // namespace wsql
