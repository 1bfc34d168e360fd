// Numbered failures raised by every part of the library.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace corvale {

// Error numbers. The first group carries the numbers (and texts) that users of the
// original platform know; the second group is the domain's own.
namespace err {
inline constexpr int32_t kInvalidProcedureCall = 5;
inline constexpr int32_t kOverflow = 6;
inline constexpr int32_t kSubscriptOutOfRange = 9;
inline constexpr int32_t kDivisionByZero = 11;
inline constexpr int32_t kTypeMismatch = 13;
inline constexpr int32_t kFileNotFound = 53;
inline constexpr int32_t kPermissionDenied = 70;
inline constexpr int32_t kPathFileAccess = 75;
inline constexpr int32_t kObjectNotSet = 91;
inline constexpr int32_t kCannotCreateObject = 429;
inline constexpr int32_t kNotSupported = 438;
inline constexpr int32_t kDuplicateKey = 457;
inline constexpr int32_t kInvalidBuddy = 497;

// Raised by the scheme's Add (0x800403E8 ... 0x800403EE) and scheme loading (0x80040000).
inline constexpr int32_t kSchemeLoad = static_cast<int32_t>(0x80040000u);
inline constexpr int32_t kAddBase = static_cast<int32_t>(0x800403E8u);
inline constexpr int32_t kAdd1 = static_cast<int32_t>(0x800403E9u);
inline constexpr int32_t kAdd2 = static_cast<int32_t>(0x800403EAu);
inline constexpr int32_t kAdd3 = static_cast<int32_t>(0x800403EBu);
inline constexpr int32_t kAdd4 = static_cast<int32_t>(0x800403ECu);
inline constexpr int32_t kAdd5 = static_cast<int32_t>(0x800403EDu);
inline constexpr int32_t kAdd6 = static_cast<int32_t>(0x800403EEu);

// Raised by the Add of a template file (clsCodeTemplates) and of a systems file (clsSystems)
// for a key that a template or system of the file holds already; nothing is added. Numbers of
// their own, past the scheme's Add range, so that a host can tell them from a collection's 457.
inline constexpr int32_t kDuplicateTemplateKey = static_cast<int32_t>(0x80040401u);
inline constexpr int32_t kDuplicateSystemKey = static_cast<int32_t>(0x80040402u);

// A save refused because the file changed on disk since the document was read from it.
inline constexpr int32_t kFileChanged = static_cast<int32_t>(0x80040100u);
}  // namespace err

// The description a user of the original platform sees for a standard number;
// "Application-defined or object-defined error" for any other.
std::string StandardDescription(int32_t number);

class Error : public std::exception {
 public:
  explicit Error(int32_t number);
  Error(int32_t number, std::string description, std::string source = {});

  int32_t number() const noexcept { return number_; }
  const std::string& description() const noexcept { return description_; }
  const std::string& source() const noexcept { return source_; }
  const char* what() const noexcept override { return what_.c_str(); }

 private:
  int32_t number_;
  std::string description_;
  std::string source_;
  std::string what_;
};

}  // namespace corvale
