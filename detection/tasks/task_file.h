// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::detection {

/// Values whose bytes hold nothing else than their value.
template <class T>
concept Plain = std::is_trivially_copyable_v<T> &&
    (std::has_unique_object_representations_v<T> || std::is_floating_point_v<T>);

/// Gathers the bytes of a task's result: values one after the other, lists with their length.
///
///     TaskWriter writer;
///     writer.Value(count);
///     writer.List(keys);
///     auto done = writer.Store(path, key);
class TaskWriter {
public:
    template <Plain T>
    void Value(const T& value) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&value);
        bytes_.insert(bytes_.end(), bytes, bytes + sizeof value);
    }
    template <Plain T>
    void List(const std::vector<T>& values) {
        Value(std::uint64_t{values.size()});
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(values.data());
        bytes_.insert(bytes_.end(), bytes, bytes + values.size() * sizeof(T));
    }
    /// A list whose values are handed over in their parts: each(value) writes one.
    template <class T, class Each>
    void List(std::vector<T>& values, Each&& each) {
        Value(std::uint64_t{values.size()});
        for (T& value : values) each(value);
    }
    [[nodiscard]] std::vector<std::uint8_t>& Bytes() { return bytes_; }
    /// The file of what was gathered, which appears whole or not at all, also where several programs
    /// and machines store the same one at a time. `key` says which plan it belongs to.
    ///
    /// Errors  NoSpace and Failure, with the path.
    [[nodiscard]] Expected<void> Store(const CString& path, std::uint64_t key) const;

private:
    std::vector<std::uint8_t> bytes_;
};

/// Reads what a TaskWriter stored.
///
/// Errors  none at the calls: a value that is not there is zero, a list that cannot be there is empty,
///         and Sound is false from then on.
class TaskReader {
public:
    /// Errors  Failure where the file cannot be read; Damaged where its bytes are not those that were
    ///         stored, or belong to another plan.
    static Expected<TaskReader> Open(const CString& path, std::uint64_t key);

    template <Plain T>
    void Value(T& value) {
        value = T{};
        if (!Have(sizeof value)) return;
        std::memcpy(&value, bytes_.data() + at_, sizeof value);
        at_ += sizeof value;
    }
    template <Plain T>
    void List(std::vector<T>& values) {
        values.clear();
        const std::uint64_t count = Count(sizeof(T));
        if (count == 0) return;
        values.resize(count);
        std::memcpy(values.data(), bytes_.data() + at_, count * sizeof(T));
        at_ += count * sizeof(T);
    }
    /// Each value takes a byte at least.
    template <class T, class Each>
    void List(std::vector<T>& values, Each&& each) {
        values.clear();
        for (std::uint64_t left = Count(1); left > 0 && sound_; --left) {
            values.emplace_back();
            each(values.back());
        }
    }
    void Skip(std::uint64_t bytes) {
        if (Have(bytes)) at_ += bytes;
    }
    [[nodiscard]] bool Sound() const { return sound_; }
    /// Whether all was right and nothing is left over.
    [[nodiscard]] bool AtEnd() const { return sound_ && at_ == bytes_.size(); }
    [[nodiscard]] bool Holds(const std::vector<std::uint8_t>& bytes) const {
        return bytes_ == bytes;
    }
    [[nodiscard]] tl::unexpected<Error> Damage() const;

private:
    bool Have(std::uint64_t bytes) {
        sound_ = sound_ && bytes <= bytes_.size() - at_;
        return sound_;
    }
    std::uint64_t Count(std::uint64_t bytesEach) {
        std::uint64_t count = 0;
        Value(count);
        sound_ = sound_ && count <= (bytes_.size() - at_) / bytesEach;
        return sound_ ? count : 0;
    }

    CString path_;
    std::vector<std::uint8_t> bytes_;
    std::size_t at_ = 0;
    bool sound_ = true;
};

}  // namespace orvix::detection
