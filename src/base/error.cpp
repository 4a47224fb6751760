#include "base/error.h"

#include "base/language.h"

namespace tidyreel {

Error::Error(std::string domain, int code, const std::string& description,
             std::map<std::string, std::string> userInfo)
    : std::runtime_error(description),
      domain_(std::move(domain)),
      code_(code),
      userInfo_(std::move(userInfo)) {}

RunCancelled::RunCancelled()
    : Error(ProcessingError::domain, ProcessingError::cancelled, localized("Abgebrochen", "Cancelled")) {}

bool isCancellation(const Error& error) {
    return error.domain() == ProcessingError::domain && error.code() == ProcessingError::cancelled;
}

Error asError(const std::exception& failure) {
    if (const auto* error = dynamic_cast<const Error*>(&failure)) {
        return *error;
    }
    return Error(ProcessingError::domain, ProcessingError::unexpectedFailure, failure.what());
}

}  // namespace tidyreel
