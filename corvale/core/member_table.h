// The member-table machinery behind Object::Invoke: argument checks, Variant conversions and
// a name-to-callable table. Only .cpp files include this header, so that model headers stay
// light.
#pragma once

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "corvale/core/error.h"
#include "corvale/core/index.h"
#include "corvale/core/object.h"

namespace corvale {

// Checks an Invoke argument list: raises 5 unless it holds `count` arguments.
void ExpectArgs(const Args& args, size_t count);

// A position-or-key argument of a late-bound call: text is a key, anything else a position.
inline Index IndexArg(const Variant& value) {
  if (value.IsString()) return Index(value.ToString());
  return Index(value.ToInt32());
}

// The optional before and after positions-or-keys of a late-bound Add(item, [before],
// [after]); nothing given stays empty. Raises 5 unless there are one to three arguments.
struct Placement {
  std::optional<Index> before, after;
};
inline Placement PlacementArgs(const Args& args) {
  if (args.empty() || args.size() > 3) throw Error(err::kInvalidProcedureCall);
  Placement placement;
  if (args.size() > 1 && !args[1].IsEmpty()) placement.before = IndexArg(args[1]);
  if (args.size() > 2 && !args[2].IsEmpty()) placement.after = IndexArg(args[2]);
  return placement;
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
