#pragma once

#include "platform/Failure.h"

#include <optional>
#include <utility>
#include <variant>

// What one of Gigmora's own operations gives back: its value, or why there is none. Gigmora's
// own layers fail this one way; exceptions stay for the platform's rules, at the guard.
template <typename T = void> class [[nodiscard]] Result {
public:
    Result(T value) : v_(std::move(value)) {}
    Result(Failure failure) : v_(std::move(failure)) {}
    Result(Failure::Code code, QString words) : v_(Failure{code, std::move(words)}) {}

    explicit operator bool() const { return v_.index() == 0; }
    const T& value() const& { return std::get<0>(v_); }
    T&& value() && { return std::get<0>(std::move(v_)); }
    const T* operator->() const { return &std::get<0>(v_); }
    const Failure& failure() const { return std::get<1>(v_); }

private:
    std::variant<T, Failure> v_;
};

template <> class [[nodiscard]] Result<void> {
public:
    Result() = default;
    Result(Failure failure) : failure_(std::move(failure)) {}
    Result(Failure::Code code, QString words) : failure_(Failure{code, std::move(words)}) {}

    explicit operator bool() const { return !failure_; }
    const Failure& failure() const { return *failure_; }

private:
    std::optional<Failure> failure_;
};
