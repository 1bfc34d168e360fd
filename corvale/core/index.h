// A position-or-key argument: an integer is a 1-based position, text is a key.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace corvale {

class Index {
 public:
  Index(int value) : value_(static_cast<int32_t>(value)) {}
  Index(int16_t value) : value_(static_cast<int32_t>(value)) {}
  Index(long value) : value_(static_cast<int32_t>(value)) {}
  Index(const char* key) : value_(std::string(key)) {}
  Index(std::string key) : value_(std::move(key)) {}
  Index(std::string_view key) : value_(std::string(key)) {}

  bool IsPosition() const { return std::holds_alternative<int32_t>(value_); }
  bool IsKey() const { return !IsPosition(); }
  int32_t Position() const { return std::get<int32_t>(value_); }
  const std::string& Key() const { return std::get<std::string>(value_); }

 private:
  std::variant<int32_t, std::string> value_;
};

}  // namespace corvale
