#include "corvale/core/log.h"

#include <langinfo.h>
#include <locale.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <ios>
#include <new>
#include <stdexcept>

#include "corvale/core/host.h"

namespace corvale {
namespace {

// The locale name that LC_TIME takes from the environment, as setlocale(LC_TIME, "") would.
std::string TimeLocaleName() {
  for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value && *value) return value;
  }
  return "C";
}

bool IsPlainCLocale(std::string_view name) {
  return name == "C" || name == "POSIX" || name.starts_with("C.");
}

// A locale object of its own, so that the program's global locale is left alone.
std::string ShortDate(const std::tm& when) {
  const std::string name = TimeLocaleName();
  char text[128];
  if (!IsPlainCLocale(name)) {
    locale_t locale = newlocale(LC_TIME_MASK, name.c_str(), static_cast<locale_t>(0));
    if (locale != static_cast<locale_t>(0)) {
      const char* format = nl_langinfo_l(D_FMT, locale);
      size_t length = 0;
      if (format && *format) length = strftime_l(text, sizeof text, format, &when, locale);
      freelocale(locale);
      if (length > 0) return std::string(text, length);
    }
  }
  const size_t length = std::strftime(text, sizeof text, "%Y-%m-%d", &when);
  return std::string(text, length);
}

}  // namespace

std::string LogTimestamp() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return ShortDate(local);
}

std::string DefaultLogFile() { return Host().LogFolder() + "/CORVALE.LOG"; }

void LogError(int32_t number, std::string_view description, std::string_view source,
              std::string_view logFile) noexcept {
  std::string message;
  try {
    message = std::string(source) + " : " + std::to_string(number) + "-" + std::string(description);
  } catch (...) {
    return;  // out of memory: nothing useful can be shown either
  }
  try {
    const std::string path = logFile.empty() ? DefaultLogFile() : std::string(logFile);
    const std::string line = LogTimestamp() + ": " + message + "\r\n";
    if (std::FILE* file = std::fopen(path.c_str(), "ab")) {
      std::fwrite(line.data(), 1, line.size(), file);
      std::fclose(file);
    }
  } catch (...) {
    // A log that cannot be written must not stop the procedure; the box below still tells.
  }
  try {
    Host().MessageBox(message, kLogTitle, MsgIcon::Exclamation, MsgButtons::OK);
  } catch (...) {
  }
}

Error ErrorFromException(std::exception_ptr failure) {
  try {
    if (failure) std::rethrow_exception(failure);
    return Error(err::kInvalidProcedureCall, "Unknown failure");
  } catch (const Error& error) {
    return error;
  } catch (const std::bad_alloc&) {
    return Error(7, "Out of memory");
  } catch (const std::out_of_range& error) {
    return Error(err::kSubscriptOutOfRange, error.what());
  } catch (const std::overflow_error& error) {
    return Error(err::kOverflow, error.what());
  } catch (const std::range_error& error) {
    return Error(err::kOverflow, error.what());
  } catch (const std::filesystem::filesystem_error& error) {
    return Error(err::kPathFileAccess, error.what());
  } catch (const std::ios_base::failure& error) {
    return Error(err::kPathFileAccess, error.what());
  } catch (const std::exception& error) {
    return Error(err::kInvalidProcedureCall, error.what());
  } catch (...) {
    return Error(err::kInvalidProcedureCall, "Unknown failure");
  }
}

ErrorTrap::ErrorTrap(std::string source, OnError mode) : source_(std::move(source)), mode_(mode) {}

bool ErrorTrap::Step(const std::function<void()>& statement) {
  if (HasLeft()) return false;
  try {
    statement();
    return true;
  } catch (...) {
    ++failures_;
    const Error error = ErrorFromException(std::current_exception());
    LogError(error.number(), error.description(), source_);
    return false;
  }
}

}  // namespace corvale
