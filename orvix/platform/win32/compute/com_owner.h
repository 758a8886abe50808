// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <utility>

namespace orvix::platform::detail {

/// Holds one reference to a COM object and releases it at its end.
///
///     ComOwner<ID3D11Buffer> buffer;
///     device->CreateBuffer(&description, nullptr, buffer.Fill());
template <class Object>
class ComOwner {
public:
    ComOwner() = default;
    ComOwner(ComOwner&& other) noexcept : object_(other.Let()) {}
    ComOwner& operator=(ComOwner&& other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~ComOwner() {
        if (object_ != nullptr) object_->Release();
    }

    /// Where a call stores the object that it makes; holds nothing yet.
    [[nodiscard]] Object** Fill() { return &object_; }
    [[nodiscard]] Object* Get() const { return object_; }
    Object* operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }
    /// Gives the reference away.
    Object* Let() { return std::exchange(object_, nullptr); }

private:
    Object* object_ = nullptr;
};

}  // namespace orvix::platform::detail
