#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// A configuration option: a key of the section "Preferences" with a default. The store
// is read at the first use only; later changes of the store don't reach a running process.

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "tessel/core/any_type.h"
#include "tessel/platform/base/nitf_config.h"

namespace nitf_config {

template <typename T>
class option : public option_base {
    static_assert(std::is_same_v<T, int> || std::is_same_v<T, bool> || std::is_same_v<T, double>,
                  "options are int, bool or double");

public:
    option(const wchar_t* name, T&& defaultValue) : name_(name), default_(defaultValue) {
        registerOption(
            name, typeid(T), [this] { return any_type::value(toValue(default_)); },
            [this] { return std::make_tuple(any_type::value(toValue((*this)())), stored()); });
    }
    option(const option&) = delete;
    option& operator=(const option&) = delete;

    // The effective value: the stored value converted, or the default.
    T operator()() const {
        const any_type::value value = stored();
        const uint8_t state = state_.load(std::memory_order_acquire);
        if (state != 1 && state != 2) {
            return default_;
        }
        return convert(value).value_or(default_);
    }
    T value() const { return (*this)(); }

    std::wstring_view name() const { return name_; }
    const T& default_value() const { return default_; }
    uint8_t state() const { return state_.load(); }

    // Forgets the stored value, so that the next read asks the store again.
    void reset() {
        std::lock_guard lock(mutex_);
        stored_ = {};
        state_.store(0, std::memory_order_release);
    }
    // Sets the stored value directly, as the base library's tools do (state 2).
    void override_value(any_type::value value) {
        std::lock_guard lock(mutex_);
        stored_ = std::move(value);
        state_.store(2, std::memory_order_release);
    }

private:
    any_type::value stored() const {
        std::lock_guard lock(mutex_);
        if (state_.load(std::memory_order_acquire) == 0) {
            stored_ = fromProperty(read_property(L"Preferences", name_));
            state_.store(1, std::memory_order_release);
        }
        return stored_;
    }

    static any_type::value fromProperty(const property& stored) {
        if (const auto* number = std::get_if<double>(&stored)) {
            return *number;
        }
        if (const auto* text = std::get_if<std::wstring>(&stored)) {
            return *text;
        }
        return {};
    }

    static any_type::value toValue(const T& v) {
        if constexpr (std::is_same_v<T, int>) {
            return int64_t{v};
        } else {
            return v;
        }
    }

    static std::optional<T> convert(const any_type::value& v) {
        if constexpr (std::is_same_v<T, int>) {
            const auto integer = any_type::to_integer(v);
            return integer ? std::optional<T>(static_cast<int>(*integer)) : std::nullopt;
        } else if constexpr (std::is_same_v<T, bool>) {
            return any_type::to_boolean(v);
        } else {
            return any_type::to_double(v);
        }
    }

    std::wstring_view name_;
    T default_;
    mutable any_type::value stored_;
    mutable std::atomic<uint8_t> state_{0};
    mutable std::mutex mutex_;
};

}  // namespace nitf_config

TESSEL_PUBLIC_END
