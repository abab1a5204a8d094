// An optional, possibly owned, tree node.
#pragma once

namespace wsql {

// present tells whether a node was given at all; owned whether it dies with the holder (through its virtual
// destructor).
template <typename T>
class WSQLOptionalPtr {
public:
    WSQLOptionalPtr() = default;
    explicit WSQLOptionalPtr(T* node, bool owned = true)
        : present_(node != nullptr), node_(node), owned_(owned) {}
    WSQLOptionalPtr(const WSQLOptionalPtr&) = delete;
    WSQLOptionalPtr& operator=(const WSQLOptionalPtr&) = delete;
    WSQLOptionalPtr(WSQLOptionalPtr&& other) noexcept { take(other); }
    WSQLOptionalPtr& operator=(WSQLOptionalPtr&& other) noexcept {
        if (this != &other) {
            Reset();
            take(other);
        }
        return *this;
    }
    ~WSQLOptionalPtr() { Reset(); }

    void Set(T* node, bool owned = true) {
        if (node != node_) Reset();
        present_ = node != nullptr;
        node_ = node;
        owned_ = owned;
    }
    void Reset() {
        if (node_ != nullptr && owned_) delete node_;
        node_ = nullptr;
        present_ = false;
    }
    // The node now belongs to the caller.
    T* Release() {
        T* node = node_;
        node_ = nullptr;
        present_ = false;
        return node;
    }
    T* Get() const { return node_; }
    bool Present() const { return present_; }

private:
    void take(WSQLOptionalPtr& other) {
        owned_ = other.owned_;
        node_ = other.Release();
        present_ = node_ != nullptr;
    }

    bool present_ = false;
    T* node_ = nullptr;
    bool owned_ = false;
};

}  // namespace wsql
