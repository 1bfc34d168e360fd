// Late binding: every creatable class derives from Object and can be called by member name
// with Variant arguments, as a host or a loader class expects.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace corvale {

class Object;
using ObjectPtr = std::shared_ptr<Object>;

// Nothing, a bool, a 32-bit integer, a double, text or an object.
// Conversions follow the document rules of convert.h; an impossible one raises 13.
class Variant {
 public:
  Variant() = default;
  Variant(bool v) : value_(v) {}
  Variant(int v) : value_(static_cast<int32_t>(v)) {}
  Variant(int16_t v) : value_(static_cast<int32_t>(v)) {}
  Variant(float v) : value_(static_cast<double>(v)) {}
  Variant(double v) : value_(v) {}
  Variant(const char* v) : value_(std::string(v)) {}
  Variant(std::string v) : value_(std::move(v)) {}
  Variant(std::string_view v) : value_(std::string(v)) {}
  Variant(ObjectPtr v) : value_(std::move(v)) {}
  template <class T>
  requires std::is_base_of_v<Object, T> Variant(std::shared_ptr<T> v)
      : value_(ObjectPtr(std::move(v))) {}

  bool IsEmpty() const { return std::holds_alternative<std::monostate>(value_); }
  bool IsBool() const { return std::holds_alternative<bool>(value_); }
  bool IsInteger() const { return std::holds_alternative<int32_t>(value_); }
  bool IsDouble() const { return std::holds_alternative<double>(value_); }
  bool IsString() const { return std::holds_alternative<std::string>(value_); }
  bool IsObject() const { return std::holds_alternative<ObjectPtr>(value_); }

  bool ToBool() const;      // numbers: not 0; text: "True"/"False" or a number, else 13
  int16_t ToInt16() const;  // rounded, ties to even; 6 on overflow; 13 for non-numbers
  int32_t ToInt32() const;
  double ToDouble() const;
  std::string ToString() const;  // empty: ""; bool: "True"/"False"; numbers: decimal
  ObjectPtr ToObject() const;    // 13 when not an object (nothing gives null)
  template <class T>
  std::shared_ptr<T> ToObjectAs() const {
    return std::dynamic_pointer_cast<T>(ToObject());
  }

 private:
  std::variant<std::monostate, bool, int32_t, double, std::string, ObjectPtr> value_;
};

using Args = std::vector<Variant>;

class Object : public std::enable_shared_from_this<Object> {
 public:
  virtual ~Object() = default;
  // Calls a member by name, without regard to case. An empty name asks for the default
  // value. The default implementation raises 438 (no such property or method).
  virtual Variant Invoke(std::string_view member, const Args& args = {});
};

}  // namespace corvale
