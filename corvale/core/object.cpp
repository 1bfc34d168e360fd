#include "corvale/core/object.h"

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"

namespace corvale {

namespace {

// Text that converts to a number: numeric text only; anything else is a type mismatch.
double NumberFromText(const std::string& text) {
  if (!IsNumericText(text)) throw Error(err::kTypeMismatch);
  return ParseLeadingNumber(text);
}

}  // namespace

bool Variant::ToBool() const {
  if (auto* b = std::get_if<bool>(&value_)) return *b;
  if (auto* i = std::get_if<int32_t>(&value_)) return *i != 0;
  if (auto* d = std::get_if<double>(&value_)) return *d != 0.0;
  if (auto* s = std::get_if<std::string>(&value_)) {
    if (IsNumericText(*s)) return ParseLeadingNumber(*s) != 0.0;
    std::string_view word = TrimBlanks(*s);
    if (EqualsNoCase(word, "True")) return true;
    if (EqualsNoCase(word, "False")) return false;
    throw Error(err::kTypeMismatch);
  }
  if (IsEmpty()) return false;
  throw Error(err::kTypeMismatch);
}

double Variant::ToDouble() const {
  if (auto* b = std::get_if<bool>(&value_)) return *b ? -1.0 : 0.0;
  if (auto* i = std::get_if<int32_t>(&value_)) return *i;
  if (auto* d = std::get_if<double>(&value_)) return *d;
  if (auto* s = std::get_if<std::string>(&value_)) return NumberFromText(*s);
  if (IsEmpty()) return 0.0;
  throw Error(err::kTypeMismatch);
}

int16_t Variant::ToInt16() const { return RoundToInt16(ToDouble()); }

int32_t Variant::ToInt32() const {
  if (auto* i = std::get_if<int32_t>(&value_)) return *i;
  return RoundToInt32(ToDouble());
}

std::string Variant::ToString() const {
  if (auto* b = std::get_if<bool>(&value_)) return *b ? "True" : "False";
  if (auto* i = std::get_if<int32_t>(&value_)) return IntegerText(*i);
  if (auto* d = std::get_if<double>(&value_)) return DoubleText(*d);
  if (auto* s = std::get_if<std::string>(&value_)) return *s;
  if (IsEmpty()) return {};
  throw Error(err::kTypeMismatch);
}

ObjectPtr Variant::ToObject() const {
  if (auto* o = std::get_if<ObjectPtr>(&value_)) return *o;
  if (IsEmpty()) return nullptr;
  throw Error(err::kTypeMismatch);
}

Variant Object::Invoke(std::string_view /*member*/, const Args& /*args*/) { RaiseNoMember(); }

void ExpectArgs(const Args& args, size_t count) {
  if (args.size() != count) throw Error(err::kInvalidProcedureCall);
}

std::string FoldMemberName(std::string_view name) { return UpperCase(name); }

void RaiseNoMember() { throw Error(err::kNotSupported); }

}  // namespace corvale
