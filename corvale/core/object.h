// Late binding: every creatable class derives from Object and can be called by member name
// with Variant arguments, as a host or a loader class expects.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include "corvale/core/index.h"

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

// Checks an Invoke argument list: raises 5 unless it holds `count` arguments.
void ExpectArgs(const Args& args, size_t count);

// A position-or-key argument of a late-bound call: text is a key, anything else a position.
inline Index IndexArg(const Variant& value) {
  if (value.IsString()) return Index(value.ToString());
  return Index(value.ToInt32());
}

// The key under which member names are kept (upper case), and the 438 error of a name that
// is not a member.
std::string FoldMemberName(std::string_view name);
[[noreturn]] void RaiseNoMember();

// A Variant as a C++ value of type V (bool, int16_t, int32_t, float, double, std::string,
// ObjectPtr or std::shared_ptr<U> of an Object class), by the conversions above.
template <class V>
V VariantAs(const Variant& value) {
  if constexpr (std::is_same_v<V, bool>) {
    return value.ToBool();
  } else if constexpr (std::is_same_v<V, int16_t>) {
    return value.ToInt16();
  } else if constexpr (std::is_same_v<V, int32_t>) {
    return value.ToInt32();
  } else if constexpr (std::is_same_v<V, float>) {
    return static_cast<float>(value.ToDouble());
  } else if constexpr (std::is_same_v<V, double>) {
    return value.ToDouble();
  } else if constexpr (std::is_same_v<V, std::string>) {
    return value.ToString();
  } else if constexpr (std::is_same_v<V, ObjectPtr>) {
    return value.ToObject();
  } else {
    return value.template ToObjectAs<typename V::element_type>();
  }
}

// The member names of a class mapped to callables, for an Invoke without if-chains. Names
// compare without regard to case; "" is the default value. Typical use:
//
//   Variant clsThing::Invoke(std::string_view member, const Args& args) {
//     static const MemberTable<clsThing> members = {
//         {"Name", MemberTable<clsThing>::Property(&clsThing::Name, &clsThing::Name)},
//         {"Key", MemberTable<clsThing>::Getter(&clsThing::Key)},
//         {"Install", [](clsThing& self, const Args& a) -> Variant {
//            ExpectArgs(a, 2);
//            self.Install(a[0].ToObject(), a[1].ToObject());
//            return {};
//          }},
//         {"", MemberTable<clsThing>::Getter(&clsThing::Name)},  // default value
//     };
//     return members.Invoke(*this, member, args);  // 438 for an unknown name
//   }
//
// A property reads with no argument and writes with one. A class that adds members to its
// base's looks its own up with Find() and otherwise calls the base's Invoke.
template <class T>
class MemberTable {
 public:
  using Member = std::function<Variant(T&, const Args&)>;

  MemberTable(std::initializer_list<std::pair<std::string_view, Member>> members) {
    for (const auto& [name, member] : members) Add(name, member);
  }

  // Adds or replaces a member.
  void Add(std::string_view name, Member member) {
    members_[FoldMemberName(name)] = std::move(member);
  }
  // The member with a name, or null.
  const Member* Find(std::string_view name) const {
    auto found = members_.find(FoldMemberName(name));
    return found == members_.end() ? nullptr : &found->second;
  }
  // Calls a member; raises 438 when there is none with that name.
  Variant Invoke(T& self, std::string_view name, const Args& args) const {
    const Member* member = Find(name);
    if (!member) RaiseNoMember();
    return (*member)(self, args);
  }

  // A read-only property: called with no argument (any argument raises 5).
  template <class C, class V>
  static Member Getter(V (C::*get)() const) {
    static_assert(std::is_base_of_v<C, T>);
    return [get](T& self, const Args& args) -> Variant {
      ExpectArgs(args, 0);
      return Variant((self.*get)());
    };
  }
  template <class C, class V>
  static Member Getter(V (C::*get)()) {
    static_assert(std::is_base_of_v<C, T>);
    return [get](T& self, const Args& args) -> Variant {
      ExpectArgs(args, 0);
      return Variant((self.*get)());
    };
  }
  // A read-write property: no argument reads it, one argument writes it.
  template <class C, class D, class V, class W>
  static Member Property(V (C::*get)() const, void (D::*set)(W)) {
    static_assert(std::is_base_of_v<C, T> && std::is_base_of_v<D, T>);
    return [get, set](T& self, const Args& args) -> Variant {
      if (args.empty()) return Variant((self.*get)());
      ExpectArgs(args, 1);
      (self.*set)(VariantAs<std::remove_cvref_t<W>>(args[0]));
      return {};
    };
  }
  // An operation taking one position-or-key argument, such as a collection's Item or Remove
  // (its result, if any, is returned).
  template <class Method>
  static Member WithIndex(Method method) {
    return [method](T& self, const Args& args) -> Variant {
      ExpectArgs(args, 1);
      if constexpr (std::is_void_v<decltype((self.*method)(IndexArg(args[0])))>) {
        (self.*method)(IndexArg(args[0]));
        return {};
      } else {
        return Variant((self.*method)(IndexArg(args[0])));
      }
    };
  }
  // An operation without arguments (its result, if any, is returned).
  template <class C, class R>
  static Member Method(R (C::*method)()) {
    static_assert(std::is_base_of_v<C, T>);
    return [method](T& self, const Args& args) -> Variant {
      ExpectArgs(args, 0);
      if constexpr (std::is_void_v<R>) {
        (self.*method)();
        return {};
      } else {
        return Variant((self.*method)());
      }
    };
  }

 private:
  std::unordered_map<std::string, Member> members_;
};

}  // namespace corvale
