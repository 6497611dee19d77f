#pragma once

#include <concepts>
#include <string>
#include <utility>
#include <variant>

namespace revwarden {

/// Why an operation failed.
struct Error {
  /// A stable identifier for programs ("noSpace", "copyFailed"); empty if no caller needs one.
  std::string code;
  /// One line for a person: what happened, to what and why, without a full stop at its end.
  std::string message;
};

/// The result of an operation that may fail: either its value or an error. `Result<>` has no value.
/// Converts to true if the operation succeeded.
template <typename T = std::monostate>
class [[nodiscard]] Result {
 public:
  Result() requires std::same_as<T, std::monostate>
  = default;
  Result(T value) : content_(std::move(value)) {}      // NOLINT(google-explicit-constructor)
  Result(Error error) : content_(std::move(error)) {}  // NOLINT(google-explicit-constructor)

  bool ok() const { return content_.index() == 0; }
  explicit operator bool() const { return ok(); }

  /// The value. Call only after success.
  T& value() { return *std::get_if<0>(&content_); }
  const T& value() const { return *std::get_if<0>(&content_); }
  T& operator*() { return value(); }
  const T& operator*() const { return value(); }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }

  /// The error. Call only after failure.
  const Error& error() const { return *std::get_if<1>(&content_); }

 private:
  std::variant<T, Error> content_;
};

/// A successful `Result<>`, for operations whose success has no value.
inline constexpr std::monostate kSuccess;

}  // namespace revwarden
