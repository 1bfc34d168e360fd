#include "corvale/core/error.h"

namespace corvale {

std::string StandardDescription(int32_t number) {
  switch (number) {
    case err::kInvalidProcedureCall:
      return "Invalid procedure call or argument";
    case err::kOverflow:
      return "Overflow";
    case err::kSubscriptOutOfRange:
      return "Subscript out of range";
    case err::kDivisionByZero:
      return "Division by zero";
    case err::kTypeMismatch:
      return "Type mismatch";
    case err::kFileNotFound:
      return "File not found";
    case err::kPermissionDenied:
      return "Permission denied";
    case err::kPathFileAccess:
      return "Path/File access error";
    case err::kObjectNotSet:
      return "Object variable or With block variable not set";
    case err::kCannotCreateObject:
      return "ActiveX component can't create object";
    case err::kNotSupported:
      return "Object doesn't support this property or method";
    case err::kDuplicateKey:
      return "This key is already associated with an element of this collection";
    case err::kFileChanged:
      return "The file has changed on disk since it was read";
    default:
      return "Application-defined or object-defined error";
  }
}

Error::Error(int32_t number) : Error(number, StandardDescription(number)) {}

Error::Error(int32_t number, std::string description, std::string source)
    : number_(number), description_(std::move(description)), source_(std::move(source)) {
  what_ = std::to_string(number_) + "-" + description_;
}

}  // namespace corvale
