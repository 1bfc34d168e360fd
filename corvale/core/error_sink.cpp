#include "corvale/core/error_sink.h"

#include <utility>

#include "corvale/core/log.h"

namespace corvale {

void ReportFailure(ErrorSink& sink, std::exception_ptr failure, std::string_view source,
                   bool fatal) {
  Error error = ErrorFromException(std::move(failure));
  sink.Report(error.number(), error.description(), std::string(source), fatal);
}

}  // namespace corvale
